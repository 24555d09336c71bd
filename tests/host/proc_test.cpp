// SPDX-License-Identifier: GPL-2.0-only
#include "tests/host/fake_module.h"

namespace {

using gpon::host::fault;
using testing::ElementsAre;

class proc : public host_test {};

std::string written;

int read_entry()
{
    printk("read\n");
    return 0;
}

long write_entry(file* opened, const char* user_text, unsigned long count)
{
    char text[8] = {};
    if (!opened || count > sizeof(text) || copy_from_user(text, user_text, count))
        return -22;
    written.assign(text, count);
    return static_cast<long>(count);
}

proc_dir_entry* add_entries()
{
    proc_dir_entry* folder = proc_mkdir("gpon_flow", nullptr);
    set_proc_handlers(create_proc_entry("debug", 0, folder), read_entry, write_entry);
    return folder;
}

TEST_F(proc, an_absent_entry_cannot_be_opened)
{
    EXPECT_EQ(gpon::host::proc_read(), std::nullopt);
    EXPECT_EQ(gpon::host::proc_write("x"), std::nullopt);
    EXPECT_TRUE(proc_mkdir("gpon_flow", nullptr));
    EXPECT_EQ(gpon::host::proc_read(), std::nullopt);
    EXPECT_EQ(gpon::host::proc_write("x"), std::nullopt);
}

TEST_F(proc, reads_and_writes_reach_the_handlers)
{
    add_entries();
    EXPECT_EQ(gpon::host::proc_write("show"), 4);
    EXPECT_EQ(written, "show");
    EXPECT_EQ(gpon::host::proc_write(""), 0);
    EXPECT_EQ(written, "");
    EXPECT_EQ(gpon::host::proc_write("more than fits"), -22);
    EXPECT_EQ(gpon::host::proc_read(), 0);
    EXPECT_THAT(events,
                ElementsAre("@ proc_mkdir gpon_flow = ok",
                            "@ create_proc_entry debug mode=0 parent=gpon_flow = ok", "| read\n"));
}

TEST_F(proc, an_entry_without_handlers_returns_an_error)
{
    EXPECT_TRUE(create_proc_entry("debug", 0, proc_mkdir("gpon_flow", nullptr)));
    EXPECT_EQ(gpon::host::proc_read(), -5);
    EXPECT_EQ(gpon::host::proc_write("x"), -5);
}

TEST_F(proc, an_entry_is_removed_only_from_the_folder_that_holds_it)
{
    proc_dir_entry* folder = add_entries();
    events.clear();
    remove_proc_entry("debug", nullptr);
    EXPECT_EQ(gpon::host::proc_read(), 0);
    remove_proc_entry("debug", folder);
    EXPECT_EQ(gpon::host::proc_read(), std::nullopt);
    EXPECT_THAT(events, ElementsAre("@ remove_proc_entry debug parent=root", "| read\n",
                                    "@ remove_proc_entry debug parent=gpon_flow"));
}

TEST_F(proc, removing_a_folder_removes_its_entries)
{
    add_entries();
    remove_proc_entry("gpon_flow", nullptr);
    EXPECT_EQ(gpon::host::proc_read(), std::nullopt);
    EXPECT_NE(proc_mkdir("gpon_flow", nullptr), nullptr);
    EXPECT_EQ(gpon::host::proc_read(), std::nullopt);
}

TEST_F(proc, a_name_is_unique_in_a_folder)
{
    proc_dir_entry* folder = add_entries();
    EXPECT_EQ(proc_mkdir("gpon_flow", nullptr), nullptr);
    EXPECT_EQ(create_proc_entry("debug", 0, folder), nullptr);
    EXPECT_NE(create_proc_entry("debug", 0, nullptr), nullptr);
}

TEST_F(proc, a_failed_creation_returns_null_once)
{
    gpon::host::arm_fault(fault::proc_dir);
    gpon::host::arm_fault(fault::proc_entry);
    EXPECT_EQ(proc_mkdir("gpon_flow", nullptr), nullptr);
    proc_dir_entry* folder = proc_mkdir("gpon_flow", nullptr);
    EXPECT_EQ(create_proc_entry("debug", 0, folder), nullptr);
    EXPECT_NE(create_proc_entry("debug", 0644, folder), nullptr);
    EXPECT_THAT(events, ElementsAre("@ proc_mkdir gpon_flow = fail", "@ proc_mkdir gpon_flow = ok",
                                    "@ create_proc_entry debug mode=0 parent=gpon_flow = fail",
                                    "@ create_proc_entry debug mode=644 parent=gpon_flow = ok"));
}

} // namespace
