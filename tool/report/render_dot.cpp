// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/render_dot.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace gponflow {

namespace {

// Ignores SIGPIPE: dot may exit before it has read everything.
void feed(int to, const std::string& text)
{
    struct sigaction ignore = {};
    struct sigaction before = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &before);
    for (size_t at = 0; at < text.size();) {
        const ssize_t written = write(to, text.data() + at, text.size() - at);
        if (written < 0 && errno != EINTR)
            break;
        at += written > 0 ? static_cast<size_t>(written) : 0;
    }
    close(to);
    sigaction(SIGPIPE, &before, nullptr);
}

pid_t start_dot(int input, int other_end, const std::string& format, const std::string& file)
{
    std::string type = "-T" + format;
    std::string output = "-o" + file;
    char name[] = "dot";
    char* const arguments[] = {name, type.data(), output.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_addclose(&actions, input);
    posix_spawn_file_actions_addclose(&actions, other_end);
    pid_t child = 0;
    const int error = posix_spawnp(&child, name, &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error == ENOENT)
        throw std::runtime_error(
            "cannot draw " + file +
            ": command dot not found (install graphviz, or write a .dot file)");
    if (error != 0)
        throw std::runtime_error(std::string("cannot start dot: ") + std::strerror(error));
    return child;
}

} // namespace

void render_dot(const std::string& dot, const std::string& format, const std::string& file)
{
    int ends[2];
    if (pipe(ends) != 0)
        throw std::runtime_error(std::string("cannot create a pipe: ") + std::strerror(errno));
    pid_t child = 0;
    try {
        child = start_dot(ends[0], ends[1], format, file);
    } catch (...) {
        close(ends[0]);
        close(ends[1]);
        throw;
    }
    close(ends[0]);
    feed(ends[1], dot);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
        continue;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error("dot could not draw " + file);
}

} // namespace gponflow
