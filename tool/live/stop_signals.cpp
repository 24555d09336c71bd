// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/stop_signals.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <poll.h>
#include <stdio_ext.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "tool/scenario/backend.h"

namespace gponflow {

namespace {

// No other part of the tool uses it. Its handler does nothing: the signal ends a system call.
constexpr int interruption = SIGUSR2;

constexpr int milliseconds_between_interruptions = 200;

struct sigaction interrupt_without_restart()
{
    struct sigaction action {};
    action.sa_handler = [](int) {};
    return action;
}

bool is_ready(int file, short events, int milliseconds)
{
    pollfd ready = {file, events, 0};
    return poll(&ready, 1, milliseconds) > 0;
}

bool would_block()
{
    return !is_ready(STDOUT_FILENO, POLLOUT, 0) || !is_ready(STDERR_FILENO, POLLOUT, 0);
}

} // namespace

stop_signals::stop_signals()
{
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaddset(&wanted, signal);
    signals_ = descriptor(signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!signals_)
        throw refusal(std::string("cannot wait for signals: ") + std::strerror(errno));
    ended_ = descriptor(eventfd(0, EFD_CLOEXEC));
    if (!ended_)
        throw refusal(std::string("cannot wait for signals: ") + std::strerror(errno));
    sigaddset(&wanted, SIGPIPE);
    sigprocmask(SIG_BLOCK, &wanted, &before_);
    const struct sigaction action = interrupt_without_restart();
    sigaction(interruption, &action, &interruption_before_);
    interrupter_ = std::thread([this] { interrupt_writes(); });
}

stop_signals::~stop_signals()
{
    eventfd_write(ended_.get(), 1);
    interrupter_.join();
    sigaction(interruption, &interruption_before_, nullptr);
    // Otherwise the end of the process would try to write the rest, and block again.
    if (came_ && std::ferror(stdout) != 0)
        __fpurge(stdout);
    // A pending signal has been handled and must not end the process now.
    signalfd_siginfo taken;
    while (read(signals_.get(), &taken, sizeof(taken)) > 0)
        continue;
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

// A signal may arrive just before a write blocks, so one interruption is not enough.
void stop_signals::interrupt_writes() const
{
    std::array<pollfd, 2> ready = {pollfd{signals_.get(), POLLIN, 0},
                                   pollfd{ended_.get(), POLLIN, 0}};
    while (poll(ready.data(), ready.size(), -1) < 0)
        continue;
    while (!is_ready(ended_.get(), POLLIN, milliseconds_between_interruptions))
        if (would_block())
            pthread_kill(writer_, interruption);
}

bool stop_signals::wait(int other, int milliseconds)
{
    std::array<pollfd, 2> ready = {pollfd{signals_.get(), POLLIN, 0}, pollfd{other, POLLIN, 0}};
    if (!came_ && poll(ready.data(), ready.size(), milliseconds) > 0 && ready[0].revents != 0)
        came_ = true;
    return came_;
}

} // namespace gponflow
