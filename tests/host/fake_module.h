/* SPDX-License-Identifier: GPL-2.0-only */
/* A module whose load and unload functions are defined by a test, and its fixture. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/host/host.h"

/* After the standard library: the seam gives some of libc's names to other functions. */
#include "platform/api/kernel_api.h"

/* What the module does; nothing where empty. */
struct fake_module {
    std::function<int()> load = {};
    std::function<void()> unload = {};
};
extern fake_module module_under_test;

/* Mutable data of the module: 41 after every load. */
extern int module_word;

/* A fresh platform with events on record: "| text" for log text, "@ text" for calls. */
class host_test : public testing::Test {
protected:
    host_test()
    {
        gpon::host::reset();
        gpon::host::set_sink([this](const gpon::host::event& event) {
            events.push_back((event.type == gpon::host::event::log ? "| " : "@ ") + event.text);
        });
    }
    ~host_test() override
    {
        gpon::host::set_sink(nullptr);
        gpon::host::reset();
        module_under_test = {};
    }

    std::vector<std::string> events;
};

/* The fixture of tests that end a process: they start it anew, since threads do not survive a
 * fork. */
class host_death_test : public host_test {
protected:
    host_death_test() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};
