// SPDX-License-Identifier: GPL-2.0-only
// Progress of a long operation.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace gponflow {

/// A progress line on a terminal. It appears when the operation takes longer than `silence` and is
/// erased at the end. Without a terminal it prints nothing.
class progress_line {
public:
    /// `total` is in any unit; 0 is unknown, and show() prints nothing.
    progress_line(std::string label, uint64_t total, int descriptor = 2,
                  std::chrono::milliseconds silence = std::chrono::seconds(1));
    ~progress_line();
    progress_line(const progress_line&) = delete;
    progress_line& operator=(const progress_line&) = delete;

    /// Whether an update is due. Cheap enough to call for each frame.
    [[nodiscard]] bool due() const;
    void show(uint64_t done);
    /// A text instead of the share, for work of unknown size.
    void show_text(std::string text);

private:
    std::string label_;
    uint64_t total_;
    int descriptor_;
    bool shown_ = false;
    std::chrono::steady_clock::time_point next_;
};

/// Progress of reading a file, in bytes.
class reading_progress {
public:
    /// The stream must outlive this object.
    reading_progress(const std::string& label, std::FILE* stream);

    void step()
    {
        if (line_.due())
            line_.show(static_cast<uint64_t>(std::ftell(stream_)));
    }

private:
    std::FILE* stream_;
    progress_line line_;
};

} // namespace gponflow
