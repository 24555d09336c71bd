/* SPDX-License-Identifier: GPL-2.0-only */
/* The module, loaded on a fresh platform, with its log on record. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "platform/host/host.h"

/* After the standard library: the seam gives some of libc's names to other functions. */
#include "base/log.h"
#include "base/switches.h"
#include "platform/api/kernel_api.h"

namespace gpon::test {

/* Source line numbers, which change whenever code moves, as 0. */
std::string without_line_numbers(const std::string& text);

} // namespace gpon::test

/* Ids and message types to go through in a loop. */
using u16s = std::initializer_list<u16>;
using u8s = std::initializer_list<u8>;

/* Loads before a test and unloads after it, if the test has not done so: the invariants hold
 * before, no block is left behind. */
class loaded_module : public testing::Test {
protected:
    loaded_module();
    ~loaded_module() override;

    /* What was logged since the last call, line by line, without line numbers. */
    std::vector<std::string> log_lines();

    std::vector<std::string> calls; // platform calls, since the load
    // Set by a test that makes by hand what the module never makes.
    bool deliberately_broken = false;

private:
    void record(const gpon::host::event& event);

    std::string text;
};
