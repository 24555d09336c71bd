// SPDX-License-Identifier: GPL-2.0-only
#include <gtest/gtest.h>

#include "base/optional.h"
#include "base/types.h"

namespace {

constexpr gpon::optional<u16> NO_VALUE;
constexpr gpon::optional<u16> ZERO = u16{0};
constexpr gpon::optional<u16> SEVEN = u16{7};

static_assert(!NO_VALUE && ZERO && SEVEN);

TEST(an_optional, distinguishes_a_value_of_0_from_none)
{
    EXPECT_EQ(*ZERO, 0);
    EXPECT_EQ(ZERO.value_or(5), 0);
    EXPECT_EQ(NO_VALUE.value_or(5), 5);
    EXPECT_EQ(SEVEN.value_or(5), 7);
}

TEST(an_optional, writes_its_destination_only_with_a_value)
{
    u16 destination = 3;
    EXPECT_FALSE(NO_VALUE.copy_to(&destination));
    EXPECT_EQ(destination, 3);
    EXPECT_FALSE(NO_VALUE.copy_to(nullptr));
    EXPECT_TRUE(SEVEN.copy_to(&destination));
    EXPECT_EQ(destination, 7);
}

} // namespace
