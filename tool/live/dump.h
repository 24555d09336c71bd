// SPDX-License-Identifier: GPL-2.0-only
// What the module shows of itself in its log, as data.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/model/line_model.h"
#include "tool/scenario/command.h"

namespace gponflow {

struct vlan_tag {
    uint16_t tpid = 0;
    uint16_t tci = 0; ///< priority, drop bit and VLAN id together

    // The 0 that clang-tidy wants to be a null pointer is the compiler's own.
    auto operator<=>(const vlan_tag&) const = default; // NOLINT(modernize-use-nullptr)
};

using mac_address = std::array<uint8_t, 6>;

/// "02:00:00:00:01:01".
std::string to_text(const mac_address& mac);

/// What a rule is found by, and what a frame is looked up with.
struct flow_key {
    mac_address destination{};
    mac_address source{};
    std::vector<vlan_tag> tags; ///< outermost first, at most four
    std::string direction;      ///< UP_UNI, UP_ANI, DOWN_ANI, DOWN_UNI or N/A

    auto operator<=>(const flow_key&) const = default; // NOLINT(modernize-use-nullptr)
};

/// The key of a frame that reaches the hook; bytes beyond its end count as 0.
flow_key key_of(const packet_options& options, const bytes& frame);

/// "100", with its priority when that is not 0: "100p5"; outer and inner with a slash between;
/// "untagged" without tags.
std::string to_text(const std::vector<vlan_tag>& tags);

struct dumped_rule {
    uint32_t hash = 0;  ///< of its bucket
    uint16_t index = 0; ///< in the bucket
    uint16_t port = 0;
    flow_key key;
    std::vector<me_id> steps; ///< instances that a replay goes through
};

struct rule_table {
    unsigned total = 0;
    unsigned buckets = 0;
    unsigned threshold = 0; ///< rules at which the table grows
    std::vector<dumped_rule> rules;

    /// Null when the table has no such rule.
    const dumped_rule* find(const flow_key& key) const;
};

/// Reads the answer to "show flow_rule", with other lines of the log between its own. Nothing when
/// the text has no table.
std::optional<rule_table> read_rule_table(std::string_view log);

struct dumped_attribute {
    std::string name;
    bool array = false;
    std::vector<uint32_t> values; ///< one, unless it is an array
};

/// Instances that an instance has recorded as pointing at it.
struct dumped_link {
    std::string name; ///< of the row, as the module spells it
    bool list = false;
    bool cut = false; ///< the module's line had no room for all of them
    std::vector<uint16_t> instances;
};

struct dumped_instance {
    me_id id;
    std::vector<dumped_attribute> attributes;
    std::vector<dumped_link> links;
};

/// Reads the answer to "show raw_data", in the order of the text.
std::vector<dumped_instance> read_instances(std::string_view log);

/// The raw attribute record that the attributes stand for.
bytes raw_record(const dumped_instance& from);

/// The instances as they stand in the module, links and all.
mirror mirror_of(const std::vector<dumped_instance>& all);

/// Whether the engine looks at frames, from the answer to "show en_flag"; nothing when the text
/// does not say.
std::optional<bool> read_switch(std::string_view log);

} // namespace gponflow
