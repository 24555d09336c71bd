// SPDX-License-Identifier: GPL-2.0-only
// One job in a process of its own.
//
// The module keeps its state in variables of the process, and an input may be of any kind. A
// process for each input starts with an empty module, and what goes wrong in it ends with it: a
// crash, an endless loop or memory that is never freed.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <sys/types.h>

namespace gponflow {

/// How a job ended.
struct worker_result {
    std::optional<std::string> text; ///< nothing if the process ended before it was written
    std::string why;                 ///< the reason for this
};

class worker {
public:
    /// Starts a process that runs the job and returns its text. Nothing if the system has no place
    /// for another process. The caller has flushed its output streams and has no other threads.
    [[nodiscard]] static std::optional<worker> start(const std::function<std::string()>& job);

    worker(worker&& from) noexcept;
    worker& operator=(worker&&) = delete;
    /// Kills the process if it still runs.
    ~worker();

    /// Readable when the process has written or ended.
    [[nodiscard]] int descriptor() const { return descriptor_; }
    [[nodiscard]] std::chrono::steady_clock::time_point started() const { return started_; }

    /// Reads what is there. False at the end of the text.
    [[nodiscard]] bool read();

    /// Waits for the process. Once.
    [[nodiscard]] worker_result finish();

    void kill();

private:
    worker(pid_t process, int descriptor);
    [[nodiscard]] int wait();

    pid_t process_;
    int descriptor_;
    std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
    std::string text_;
};

} // namespace gponflow
