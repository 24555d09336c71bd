// SPDX-License-Identifier: GPL-2.0-only
// How far a long piece of work has come.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace gponflow {

/// One line on a terminal, from the moment that the work has taken long enough to wonder about it
/// until it is over; then it is erased. Elsewhere it prints nothing.
class progress_line {
public:
    /// `total` in any unit, 0 when nobody knows it: nothing is shown then.
    progress_line(std::string what, uint64_t total, int descriptor = 2,
                  std::chrono::milliseconds silence = std::chrono::seconds(1));
    ~progress_line();
    progress_line(const progress_line&) = delete;
    progress_line& operator=(const progress_line&) = delete;

    /// Whether it is time to show how far the work is. Cheap enough to ask for each frame.
    bool due() const;
    void show(uint64_t done);

private:
    std::string what_;
    uint64_t total_;
    int descriptor_;
    bool shown_ = false;
    std::chrono::steady_clock::time_point next_;
};

/// The same of a file that is being read, in bytes.
class reading_progress {
public:
    /// The stream must live as long.
    reading_progress(const std::string& what, std::FILE* stream);

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
