// SPDX-License-Identifier: GPL-2.0-only
// Splits the log of marked frames into frames.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace gponflow {

/// The log of a marked frame has messages for begin and end of its walk, but messages after the end
/// may belong to it. The log is split at the first line after the end that cannot belong to it.
/// Frames that two CPUs handle at the same time are mixed in the log, and here.
class walk_splitter {
public:
    /// `take` receives the log text of each frame.
    explicit walk_splitter(std::function<void(const std::string&)> take) : take_(std::move(take)) {}

    /// Takes a line without its line feed. Lines that do not belong to a marked frame are ignored.
    void line(std::string_view text);

    /// Passes on the current frame: no more lines came for a while.
    void flush();

    /// Discards the current frame: some of its lines were lost.
    void drop();

private:
    [[nodiscard]] bool belongs_to_ended(std::string_view function, std::string_view text) const;

    std::function<void(const std::string&)> take_;
    std::string log_;
    bool ended_ = false; ///< the walk has ended, messages about it may follow
};

} // namespace gponflow
