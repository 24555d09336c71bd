// SPDX-License-Identifier: GPL-2.0-only
#include "tool/fleet/worker.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <utility>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace gponflow {

namespace {

constexpr int status_of_failure = 1;
constexpr size_t part_bytes = 65536;

bool write_all(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        text.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

// The process leaves by _exit: buffers and objects that it has from its parent are the parent's.
[[noreturn]] void run_job(const std::function<std::string()>& job, int descriptor, pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(status_of_failure);
    // The terminal's progress line is the parent's.
    setenv("TERM", "dumb", 1);
    try {
        _exit(write_all(descriptor, job()) ? 0 : status_of_failure);
    } catch (const std::exception&) {
        _exit(status_of_failure);
    }
}

std::string reason_of(int status)
{
    if (WIFSIGNALED(status))
        return "the process was ended by signal " + std::to_string(WTERMSIG(status)) + " (" +
               strsignal(WTERMSIG(status)) + ")";
    return "the process ended with status " + std::to_string(WEXITSTATUS(status));
}

} // namespace

std::optional<worker> worker::start(const std::function<std::string()>& job)
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return {};
    const pid_t parent = getpid();
    const pid_t process = fork();
    if (process == 0) {
        close(ends[0]);
        run_job(job, ends[1], parent);
    }
    close(ends[1]);
    if (process < 0) {
        close(ends[0]);
        return {};
    }
    return worker(process, ends[0]);
}

worker::worker(pid_t process, int descriptor) : process_(process), descriptor_(descriptor) {}

worker::worker(worker&& from) noexcept
    : process_(std::exchange(from.process_, -1)), descriptor_(std::exchange(from.descriptor_, -1)),
      started_(from.started_), text_(std::move(from.text_))
{
}

worker::~worker()
{
    kill();
    if (process_ >= 0)
        static_cast<void>(wait());
    if (descriptor_ >= 0)
        close(descriptor_);
}

bool worker::read()
{
    std::array<char, part_bytes> part;
    const ssize_t count = ::read(descriptor_, part.data(), part.size());
    if (count < 0)
        return errno == EINTR;
    text_.append(part.data(), static_cast<size_t>(count));
    return count > 0;
}

// Returns the status of the process as waitpid does.
int worker::wait()
{
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR)
        continue;
    process_ = -1;
    return status;
}

worker_result worker::finish()
{
    if (process_ < 0)
        return {};
    const int status = wait();
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return {std::move(text_), {}};
    return {std::nullopt, reason_of(status)};
}

void worker::kill()
{
    if (process_ > 0)
        ::kill(process_, SIGKILL);
}

} // namespace gponflow
