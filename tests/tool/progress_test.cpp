// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/progress.h"

#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace gponflow {
namespace {

using namespace std::chrono_literals;

// A terminal of our own, and what has been written to it.
class pseudo_terminal {
public:
    pseudo_terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY))
    {
        if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0)
            throw std::runtime_error("no pseudo terminal");
        line = open(ptsname(master_), O_RDWR | O_NOCTTY);
        const winsize size = {24, 40, 0, 0};
        ioctl(line, TIOCSWINSZ, &size);
    }
    ~pseudo_terminal()
    {
        close(line);
        close(master_);
    }
    pseudo_terminal(const pseudo_terminal&) = delete;
    pseudo_terminal& operator=(const pseudo_terminal&) = delete;

    std::string written() const
    {
        std::string text;
        pollfd ready = {master_, POLLIN, 0};
        for (char block[256]; poll(&ready, 1, 0) > 0;) {
            const ssize_t got = read(master_, block, sizeof(block));
            if (got <= 0)
                break;
            text.append(block, static_cast<size_t>(got));
        }
        return text;
    }

    int line = -1;

private:
    int master_;
};

class progress : public testing::Test {
protected:
    void SetUp() override { setenv("TERM", "xterm", 1); }
    pseudo_terminal terminal_;
};

TEST_F(progress, shows_the_finished_share_and_is_erased)
{
    {
        progress_line line("a.pcap", 200, terminal_.line, 0ms);
        line.show(50);
        EXPECT_EQ(terminal_.written(), "\r[#######                       ] 25% of\033[K");
    }
    EXPECT_EQ(terminal_.written(), "\r\033[K");
}

TEST_F(progress, is_silent_for_short_work)
{
    {
        progress_line line("a.pcap", 200, terminal_.line, 1h);
        line.show(50);
    }
    EXPECT_EQ(terminal_.written(), "");
}

TEST_F(progress, limits_the_rate_of_updates)
{
    progress_line line("a.pcap", 10, terminal_.line, 0ms);
    line.show(1);
    EXPECT_NE(terminal_.written(), "");
    EXPECT_FALSE(line.due());
    line.show(2);
    EXPECT_EQ(terminal_.written(), "");
    std::this_thread::sleep_for(110ms);
    EXPECT_TRUE(line.due());
    line.show(30);
    EXPECT_NE(terminal_.written().find("100%"), std::string::npos);
}

TEST_F(progress, is_silent_where_a_line_cannot_be_rewritten)
{
    const auto written = [&](uint64_t total) {
        progress_line line("a.pcap", total, terminal_.line, 0ms);
        line.show(1);
        return terminal_.written();
    };
    EXPECT_NE(written(2), "");
    EXPECT_EQ(terminal_.written(), "\r\033[K");
    EXPECT_EQ(written(0), "");
    setenv("TERM", "dumb", 1);
    EXPECT_EQ(written(2), "");
    setenv("TERM", "xterm", 1);
    int pipe_ends[2];
    ASSERT_EQ(pipe(pipe_ends), 0);
    {
        progress_line line("a.pcap", 2, pipe_ends[1], 0ms);
        line.show(1);
    }
    close(pipe_ends[1]);
    char byte = 0;
    EXPECT_EQ(read(pipe_ends[0], &byte, 1), 0);
    close(pipe_ends[0]);
}

} // namespace
} // namespace gponflow
