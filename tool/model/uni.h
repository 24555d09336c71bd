// SPDX-License-Identifier: GPL-2.0-only
// The two classes of UNIs (ITU-T G.988 9.5.1, 9.5.5).
#pragma once

#include <algorithm>
#include <array>

#include "tool/model/line_model.h"

namespace gponflow {

constexpr std::array uni_classes = {me_class::pptp, me_class::veip};

[[nodiscard]] constexpr bool is_uni(me_class class_id)
{
    return std::ranges::find(uni_classes, class_id) != uni_classes.end();
}

/// The number by which the module finds a UNI from the port of a packet.
[[nodiscard]] constexpr uint16_t uni_number(me_id uni)
{
    return uni.instance & 0xff;
}

} // namespace gponflow
