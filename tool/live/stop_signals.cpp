// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/stop_signals.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/signalfd.h>

#include "tool/scenario/backend.h"

namespace gponflow {

stop_signals::stop_signals()
{
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaddset(&wanted, signal);
    signals_ = descriptor(signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!signals_)
        throw refusal(std::string("cannot wait for signals: ") + std::strerror(errno));
    sigaddset(&wanted, SIGPIPE);
    sigprocmask(SIG_BLOCK, &wanted, &before_);
}

stop_signals::~stop_signals()
{
    // A pending signal has been handled and must not end the process now.
    signalfd_siginfo taken;
    while (read(signals_.get(), &taken, sizeof(taken)) > 0)
        continue;
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

bool stop_signals::wait(int other, int milliseconds)
{
    std::array<pollfd, 2> ready = {pollfd{signals_.get(), POLLIN, 0}, pollfd{other, POLLIN, 0}};
    if (!came_ && poll(ready.data(), ready.size(), milliseconds) > 0 && ready[0].revents != 0)
        came_ = true;
    return came_;
}

} // namespace gponflow
