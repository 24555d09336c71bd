/* SPDX-License-Identifier: GPL-2.0-only */
#pragma once

#include <algorithm>
#include <vector>

namespace gpon::bench {

/* The larger of the two middle values of an even number. */
[[nodiscard]] inline double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace gpon::bench
