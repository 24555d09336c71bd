// SPDX-License-Identifier: GPL-2.0-only
// The worked example of an OMCI stack's calls, run against the module in this process. This file
// implements open and ioctl of the device.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <string>
#include <string_view>

#include "include/uapi/gpon_flow.h"
#include "platform/host/host.h"

using gpon::host::fault;

namespace {

int device = -1;

long to_user_space(long returned)
{
    if (returned >= 0 || returned < -4095)
        return returned;
    errno = static_cast<int>(-returned);
    return -1;
}

} // namespace

extern "C" {

int omci_calls_main(int count, char** words);
int __real_open(const char* path, int flags, ...);
int __real_ioctl(int file, unsigned long request, ...);

int __wrap_open(const char* path, int flags, ...)
{
    std::va_list rest;
    va_start(rest, flags);
    const int mode = va_arg(rest, int);
    va_end(rest);
    if (std::string_view(path) != "/dev/" GPON_FLOW_DEVICE_NAME)
        return __real_open(path, flags, mode);
    if (!gpon::host::is_loaded()) {
        errno = ENXIO;
        return -1;
    }
    device = __real_open("/dev/null", flags);
    return device;
}

int __wrap_ioctl(int file, unsigned long request, ...)
{
    std::va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    if (file != device)
        return __real_ioctl(file, request, argument);
    const auto returned =
        gpon::host::ioctl(static_cast<uint32_t>(request), reinterpret_cast<uintptr_t>(argument));
    return static_cast<int>(to_user_space(returned.value_or(-ENXIO)));
}
}

namespace {

class omci_calls : public testing::Test {
protected:
    omci_calls()
    {
        gpon::host::reset();
        gpon::host::set_sink(nullptr);
    }
    ~omci_calls() override { gpon::host::reset(); }

    int run(std::string* printed = nullptr)
    {
        std::string name = "omci_calls";
        std::array<char*, 2> words = {name.data(), nullptr};
        testing::internal::CaptureStdout();
        const int status = omci_calls_main(1, words.data());
        const std::string output = testing::internal::GetCapturedStdout();
        if (printed)
            *printed = output;
        return status;
    }

    /* GEM port of an upstream frame in that VLAN, -1 when there is none for it. */
    int gem_port_of(uint8_t vlan)
    {
        const std::array<uint8_t, 20> frame = {2, 0, 0,    0, 0, 1,    2, 0, 0,    0,
                                               1, 1, 0x81, 0, 0, vlan, 8, 0, 0x45, 0};
        sk_buff packet;
        packet.data = frame.data();
        packet.bytes = frame.size();
        const auto returned = gpon::host::hook(GPON_API_UP_ANI, 0, &packet);
        return returned && returned->api_result == 0 ? packet.gemport_id : -1;
    }
};

TEST_F(omci_calls, the_example_provisions_a_service)
{
    ASSERT_EQ(gpon::host::load(), 0);
    std::string printed;
    EXPECT_EQ(run(&printed), 0) << printed;
    EXPECT_EQ(printed, "MIB reset: done\n"
                       "defaults: done\n"
                       "GEM port 1025: done\n"
                       "bridge: done\n"
                       "filter, VLAN 200: done\n"
                       "filter, VLAN 100: done\n"
                       "bridge port, taken back: done\n"
                       "engine on: done\n"
                       "unknown class: refused\n"
                       "raw record at no address: refused\n"
                       "unknown ioctl: refused\n");
    EXPECT_EQ(gem_port_of(100), 1025);
    EXPECT_EQ(gem_port_of(200), -1);
}

TEST_F(omci_calls, the_example_runs_twice)
{
    ASSERT_EQ(gpon::host::load(), 0);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(gem_port_of(100), 1025);
}

TEST_F(omci_calls, an_unreadable_record_is_reported)
{
    ASSERT_EQ(gpon::host::load(), 0);
    gpon::host::arm_fault(fault::copy, 1);
    std::string printed;
    EXPECT_EQ(run(&printed), 1);
    EXPECT_THAT(printed, testing::StartsWith("MIB reset: Operation not permitted\n"));
}

TEST_F(omci_calls, without_the_module_there_is_no_device)
{
    EXPECT_EQ(run(), 2);
}

} // namespace
