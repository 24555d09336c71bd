// SPDX-License-Identifier: GPL-2.0-only
// The log of marked frames, frame by frame.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace gponflow {

/// Marked frames say where their walk begins and ends, but nothing separates one from the next:
/// the log is cut where a walk that came to its end is followed by what cannot belong to it. Two
/// frames that were handled at the same time on two processors are mixed in the log, and here.
class walk_splitter {
public:
    /// `take` gets the log text of each frame.
    explicit walk_splitter(std::function<void(const std::string&)> take) : take_(std::move(take)) {}

    /// A line without its line feed; lines of others than marked frames are passed over.
    void line(std::string_view text);

    /// Hands on what there is: nothing more has come for a while.
    void flush();

    /// Forgets a frame that has begun: some of its lines were lost.
    void drop();

private:
    bool belongs_to_ended(std::string_view function, std::string_view text) const;

    std::function<void(const std::string&)> take_;
    std::string log_;
    bool ended_ = false; ///< the walk has, messages about it may still come
};

} // namespace gponflow
