// SPDX-License-Identifier: GPL-2.0-only
// Netlink families of the running kernel, with and without one of the name.
#include <sys/resource.h>

#include <gtest/gtest.h>

#include "tool/live/netlink_family.h"
#include "tool/scenario/backend.h"

namespace gponflow {
namespace {

// Lets no further file be opened.
class no_descriptors {
public:
    no_descriptors()
    {
        getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit none{0, before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~no_descriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
    no_descriptors(const no_descriptors&) = delete;
    no_descriptors& operator=(const no_descriptors&) = delete;

private:
    rlimit before_{};
};

// A container may have no netlink sockets.
bool has_netlink()
{
    try {
        return netlink_family::find_number("nlctrl").has_value();
    } catch (const refusal&) {
        return false;
    }
}

TEST(netlink_family, has_a_number_if_the_kernel_knows_its_name)
{
    if (!has_netlink())
        GTEST_SKIP() << "no netlink";
    EXPECT_EQ(netlink_family::find_number("nlctrl"), 16);
    EXPECT_EQ(netlink_family::find_number("no_such_family"), std::nullopt);
}

// Only the kernel knows that a family is gone: a failure to ask it is none.
TEST(netlink_family, is_not_called_absent_if_the_kernel_cannot_be_asked)
{
    const no_descriptors limit;
    EXPECT_THROW(static_cast<void>(netlink_family::find_number("no_such_family")), refusal);
}

} // namespace
} // namespace gponflow
