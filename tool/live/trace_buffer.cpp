// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/trace_buffer.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "tool/live/tracefs_library.h"
#include "tool/scenario/backend.h"

namespace gponflow {

namespace {

constexpr const char* buffer_prefix = "gponflow-";
// Names that other processes may have: those of a process with the same number in another PID
// namespace, and those that a process is just removing.
constexpr int most_names = 100;

// Locks the folder of a buffer. Returns no descriptor if another process has it locked, or if it
// was removed before it was locked.
descriptor lock_of(tracefs_instance* buffer)
{
    const std::unique_ptr<char, decltype(&tracefs_put_tracing_file)> folder(
        tracefs_instance_get_dir(buffer), &tracefs_put_tracing_file);
    if (!folder)
        return descriptor();
    descriptor lock(open(folder.get(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat locked {};
    struct stat named {};
    if (!lock || flock(lock.get(), LOCK_EX | LOCK_NB) != 0 || fstat(lock.get(), &locked) != 0 ||
        stat(folder.get(), &named) != 0 || locked.st_ino != named.st_ino)
        return descriptor();
    return lock;
}

// Each is removed under its lock: a process that creates one of that name notices it.
void remove_left_buffers()
{
    // A basic regular expression, in which "+" is an ordinary character.
    char** const names = tracefs_instances("^gponflow-[0-9-]*$");
    for (char** name = names; name && *name; ++name)
        if (tracefs_instance* left = tracefs_instance_alloc(nullptr, *name)) {
            if (const descriptor lock = lock_of(left))
                tracefs_instance_destroy(left);
            tracefs_instance_free(left);
        }
    tracefs_list_free(names);
}

} // namespace

void trace_buffer::remover::operator()(tracefs_instance* buffer) const
{
    // Removal disables the events of the buffer.
    tracefs_instance_destroy(buffer);
    tracefs_instance_free(buffer);
}

std::optional<trace_buffer> trace_buffer::create(const std::string& name)
{
    tracefs_instance* const made = tracefs_instance_create(name.c_str());
    if (!made)
        throw refusal(std::string("cannot create a trace buffer: ") + std::strerror(errno));
    if (tracefs_instance_is_new(made))
        if (descriptor lock = lock_of(made))
            return trace_buffer(std::move(lock), made);
    tracefs_instance_free(made);
    return {};
}

trace_buffer trace_buffer::create()
{
    remove_left_buffers();
    const std::string name = buffer_prefix + std::to_string(getpid());
    for (int at = 0; at < most_names; ++at)
        if (std::optional<trace_buffer> made =
                create(at == 0 ? name : name + "-" + std::to_string(at)))
            return std::move(*made);
    throw refusal("cannot create a trace buffer: all names " + name + "-... are in use");
}

} // namespace gponflow
