// SPDX-License-Identifier: GPL-2.0-only
// The clock of a trace buffer, and that of a process in a time namespace.
#include <fstream>
#include <functional>

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tool/live/trace_clock.h"

namespace gponflow {
namespace {

TEST(monotonic_offset, is_0_outside_of_a_time_namespace)
{
    EXPECT_EQ(monotonic_offset("monotonic           0         0\n"
                               "boottime            0         0\n"),
              0);
}

TEST(monotonic_offset, is_that_of_its_clock)
{
    EXPECT_EQ(monotonic_offset("monotonic       86400 250000000\n"
                               "boottime            7         9\n"),
              86'400'250'000'000);
    EXPECT_EQ(monotonic_offset("boottime            7         9\n"
                               "monotonic           1         2\n"),
              1'000'000'002);
}

// The kernel prints the nanoseconds of a negative time as a part that is added.
TEST(monotonic_offset, may_be_negative)
{
    EXPECT_EQ(monotonic_offset("monotonic          -2 750000000\n"), -1'250'000'000);
}

TEST(monotonic_offset, is_0_if_the_kernel_does_not_say_it)
{
    EXPECT_EQ(monotonic_offset(""), 0);
    EXPECT_EQ(monotonic_offset("boottime            7         9\n"), 0);
    EXPECT_EQ(monotonic_offset("monotonic\n"), 0);
    EXPECT_EQ(monotonic_offset("monotonic 1\n"), 0);
    EXPECT_EQ(monotonic_offset("monotonic one 2\n"), 0);
}

// In a process that is in a time namespace, and in one that only its children are in.
class trace_clock_of_children : public testing::Test {
protected:
    enum : int { same_time = 0, other_time = 1, no_namespace = 2 };

    // Whether the clock of this process is that of the test.
    int compare() const
    {
        const uint64_t now = trace_clock_now();
        return now >= start_ && now - start_ < a_minute ? same_time : other_time;
    }

    static bool unshare_time(const char* offset)
    {
        if (unshare(clone_new_time) != 0)
            return false;
        std::ofstream file("/proc/self/timens_offsets");
        file << offset << std::flush;
        return file.good();
    }

    static int status_of(const std::function<int()>& run)
    {
        const pid_t child = fork();
        if (child == 0)
            _exit(run());
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status))
            return -1;
        return WEXITSTATUS(status);
    }

private:
    static constexpr uint64_t a_minute = 60'000'000'000;
    static constexpr int clone_new_time = 0x80;
    const uint64_t start_ = trace_clock_now();
};

TEST_F(trace_clock_of_children, is_the_same)
{
    for (const char* offset : {"monotonic 1000 5", "monotonic -2 0"}) {
        SCOPED_TRACE(offset);
        const int inside = status_of([&] {
            return unshare_time(offset) ? status_of([this] { return compare(); }) : no_namespace;
        });
        if (inside == no_namespace)
            GTEST_SKIP() << "no time namespace can be created";
        EXPECT_EQ(inside, same_time);
        EXPECT_EQ(status_of([&] { return unshare_time(offset) ? compare() : no_namespace; }),
                  same_time);
    }
}

} // namespace
} // namespace gponflow
