/* SPDX-License-Identifier: GPL-2.0-only */
/* The module, loaded on a fresh platform, with its log on record. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/host.h"
#include "tests/support/invariants.h"

/* After the standard library: the seam gives some of libc's names to other functions. */
#include "base/log.h"
#include "base/switches.h"
#include "platform/api/kernel_api.h"

namespace gpon::test {

/* Source line numbers, which change whenever code moves, as 0. */
inline std::string without_line_numbers(const std::string& text)
{
    static const std::regex number(R"((\[\w+\] ?|\b\w+_\w+ )\[\d+\])");
    return std::regex_replace(text, number, "$1[0]");
}

} // namespace gpon::test

/* Ids and message types to go through in a loop. */
using u16s = std::initializer_list<u16>;
using u8s = std::initializer_list<u8>;

/* Loads before a test and unloads after it, if the test has not done so: the invariants hold
 * before, no block is left behind. */
class loaded_module : public testing::Test {
protected:
    loaded_module()
    {
        gpon::host::reset();
        gpon::host::set_sink([this](const gpon::host::event& what) { record(what); });
        EXPECT_EQ(gpon::host::load(), 0);
        text.clear();
        calls.clear();
    }

    ~loaded_module() override
    {
        gpon::host::disarm_faults();
        gponDebugLevel = 0;
        if (gpon::host::is_loaded()) {
            EXPECT_EQ(deliberately_broken ? "" : gpon::test::broken_invariant(), "");
            gpon::host::unload();
        }
        gpon::host::rcu_settle();
        EXPECT_EQ(gpon::host::memory().live_blocks, 0u) << "blocks left after unload";
        gpon::host::set_sink(nullptr);
        gpon::host::reset();
    }

    /* What was logged since the last call, line by line, without line numbers. */
    std::vector<std::string> log_lines()
    {
        std::vector<std::string> lines;
        std::string rest = gpon::test::without_line_numbers(text);
        text.clear();
        for (size_t end; (end = rest.find('\n')) != rest.npos; rest.erase(0, end + 1))
            lines.push_back(rest.substr(0, end));
        if (!rest.empty())
            lines.push_back(rest);
        return lines;
    }

    std::vector<std::string> calls; // platform calls, since the load
    // Set by a test that makes by hand what the module never makes.
    bool deliberately_broken = false;

private:
    void record(const gpon::host::event& what)
    {
        if (what.what == gpon::host::event::log)
            text += what.text;
        else
            calls.push_back(what.text);
    }

    std::string text;
};
