// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/trace_clock.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

#include "tool/text/lines.h"

namespace gponflow {

namespace {

constexpr int64_t nanoseconds_a_second = 1'000'000'000;

// The file has the offsets of the namespace of future children. A process that has just unshared
// its time namespace is not in it. Its own namespace is then taken for the first one.
bool is_in_namespace_of_children()
{
    std::error_code failure;
    const auto own = std::filesystem::read_symlink("/proc/self/ns/time", failure);
    return own == std::filesystem::read_symlink("/proc/self/ns/time_for_children", failure);
}

// 0 in a kernel without time namespaces.
int64_t own_offset()
{
    std::ifstream file("/proc/self/timens_offsets");
    std::ostringstream text;
    text << file.rdbuf();
    return is_in_namespace_of_children() ? monotonic_offset(text.str()) : 0;
}

} // namespace

int64_t monotonic_offset(std::string_view timens_offsets)
{
    int64_t offset = 0;
    for_each_line(timens_offsets, [&](std::string_view line) {
        std::istringstream words{std::string(line)};
        std::string clock;
        int64_t seconds = 0;
        int64_t nanoseconds = 0;
        if (words >> clock >> seconds >> nanoseconds && clock == "monotonic")
            offset = seconds * nanoseconds_a_second + nanoseconds;
    });
    return offset;
}

uint64_t trace_clock_now()
{
    using std::chrono::nanoseconds;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const int64_t own = std::chrono::duration_cast<nanoseconds>(now).count();
    return static_cast<uint64_t>(own - own_offset());
}

} // namespace gponflow
