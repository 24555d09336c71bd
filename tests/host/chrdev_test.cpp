// SPDX-License-Identifier: GPL-2.0-only
#include "tests/host/fake_module.h"

namespace {

using gpon::host::fault;
using testing::ElementsAre;

class chrdev : public host_test {};

unsigned int last_command;
unsigned long last_argument;
int open_answer;

const gpon_file_operations file_operations = {
    [](file*) { return open_answer; },
    [](file* opened, unsigned int command, unsigned long argument) -> long {
        last_command = command;
        last_argument = argument;
        return opened ? -25 : 0;
    },
    nullptr};

int add_device()
{
    return __register_chrdev(184, 0, 256, "gpon_flow", &file_operations);
}

TEST_F(chrdev, an_unregistered_device_cannot_be_opened)
{
    EXPECT_EQ(gpon::host::ioctl(1, 2), std::nullopt);
}

TEST_F(chrdev, the_ioctl_reaches_the_registered_operations)
{
    open_answer = 0;
    EXPECT_EQ(add_device(), 0);
    EXPECT_EQ(gpon::host::ioctl(0x40007700, UINT64_MAX), -25);
    EXPECT_EQ(last_command, 0x40007700u);
    EXPECT_EQ(last_argument, UINT64_MAX);
    __unregister_chrdev(184, 0, 256, "gpon_flow");
    EXPECT_EQ(gpon::host::ioctl(0x40007700, 0), std::nullopt);
    EXPECT_THAT(events, ElementsAre("@ register_chrdev 184 0 256 gpon_flow = 0",
                                    "@ unregister_chrdev 184 0 256 gpon_flow"));
}

TEST_F(chrdev, a_refused_open_is_returned)
{
    open_answer = -13;
    last_command = 0;
    add_device();
    EXPECT_EQ(gpon::host::ioctl(7, 0), -13);
    EXPECT_EQ(last_command, 0u);
}

TEST_F(chrdev, a_failed_registration_leaves_no_device)
{
    gpon::host::arm_fault(fault::chrdev);
    EXPECT_EQ(add_device(), -16);
    EXPECT_TRUE(gpon::host::fault_fired(fault::chrdev));
    EXPECT_EQ(gpon::host::ioctl(1, 2), std::nullopt);
    EXPECT_THAT(events, ElementsAre("@ register_chrdev 184 0 256 gpon_flow = -16"));
}

TEST_F(chrdev, a_major_number_is_unique)
{
    EXPECT_EQ(add_device(), 0);
    EXPECT_EQ(add_device(), -16);
}

} // namespace
