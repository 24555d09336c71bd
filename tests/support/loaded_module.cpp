// SPDX-License-Identifier: GPL-2.0-only
#include "tests/support/loaded_module.h"

#include <regex>

#include "tests/support/invariants.h"

namespace gpon::test {

std::string without_line_numbers(const std::string& text)
{
    static const std::regex number(R"((\[\w+\] ?|\b\w+_\w+ )\[\d+\])");
    return std::regex_replace(text, number, "$1[0]");
}

} // namespace gpon::test

loaded_module::loaded_module()
{
    gpon::host::reset();
    gpon::host::set_sink([this](const gpon::host::event& event) { record(event); });
    EXPECT_EQ(gpon::host::load(), 0);
    text.clear();
    calls.clear();
}

loaded_module::~loaded_module()
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

std::vector<std::string> loaded_module::log_lines()
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

void loaded_module::record(const gpon::host::event& event)
{
    if (event.type == gpon::host::event::log)
        text += event.text;
    else
        calls.push_back(event.text);
}
