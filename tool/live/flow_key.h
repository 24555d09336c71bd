// SPDX-License-Identifier: GPL-2.0-only
// The fields of a frame that select its rule.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <vector>

#include "tool/capture/vlan_tag.h"
#include "tool/scenario/command.h"

namespace gponflow {

using mac_address = std::array<uint8_t, 6>;

/// "02:00:00:00:01:01".
[[nodiscard]] std::string to_text(const mac_address& mac);

/// Lookup key of a rule and of a frame.
struct flow_key {
    mac_address destination{};
    mac_address source{};
    std::vector<vlan_tag> tags; ///< outermost first, at most four
    std::string direction;      ///< UP_UNI, UP_ANI, DOWN_ANI, DOWN_UNI or N/A

    // clang-tidy reports a 0 that the compiler generates.
    auto operator<=>(const flow_key&) const = default; // NOLINT(modernize-use-nullptr)
};

/// The key of a frame that reaches the hook; bytes beyond its end count as 0.
[[nodiscard]] flow_key key_of(const packet_options& options, const bytes& frame);

/// "100", with its priority when that is not 0: "100p5"; outer and inner with a slash between;
/// "untagged" without tags.
[[nodiscard]] std::string to_text(const std::vector<vlan_tag>& tags);

} // namespace gponflow
