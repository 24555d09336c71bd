// SPDX-License-Identifier: GPL-2.0-only
// Tagging operations of a line: extended VLAN tagging operation configuration data (class 171,
// ITU-T G.988 clause 9.3.13) and VLAN tagging operation configuration data (class 78,
// clause 9.3.12).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "include/me_class_id.h"
#include "tool/tagging/row.h"
#include "tool/text/line_places.h"

namespace gponflow {

constexpr size_t dscp_map_bytes = 24;

/// The attributes of an operation.
enum class tag_attribute : uint8_t {
    association,
    associated,
    input_tpid,
    output_tpid,
    dscp_map,
    table,
    enhanced_mode,
    upstream_mode,
    upstream_tci,
    downstream_mode
};
constexpr size_t tag_attribute_count = 10;

/// "input_tpid": as the scenario command `tagging` names it; "rows" for the table.
[[nodiscard]] const char* name_of(tag_attribute attribute);

/// A row of a table.
struct table_row : tag_row {
    unsigned line = 0; ///< of the scenario that last wrote it; 0: the ONU created it
};

/// Attributes of one instance, as far as they are known.
struct tag_operation {
    me_class class_id = me_class::evtocd; ///< or vtocd
    std::optional<uint8_t> association;   ///< type of the ME that it belongs to
    uint16_t associated = 0;              ///< id of that ME

    // Class 171.
    uint16_t input_tpid = 0x8100;
    uint16_t output_tpid = 0x8100;
    std::array<uint8_t, dscp_map_bytes> dscp_map{}; ///< 64 priorities of three bits
    std::vector<table_row> rows;                    ///< in the order in which they are tried
    bool table_known = false;
    bool table_in_part = false; ///< some rows are known, others were set before
    uint8_t enhanced_mode = 0;  ///< 1: the enhanced table applies, which the tool does not read

    // Class 78.
    std::optional<uint8_t> upstream_mode;
    uint16_t upstream_tci = 0;

    uint8_t downstream_mode = 0; ///< of either class, with different meanings

    /// Of the scenario that last wrote each attribute, by tag_attribute; 0: none did.
    std::array<unsigned, tag_attribute_count> lines{};

    [[nodiscard]] unsigned line_of(tag_attribute attribute) const
    {
        return lines[static_cast<size_t>(attribute)];
    }
};

/// Attributes of one instance that a message or a line of a scenario sets.
struct tag_facts {
    me_class class_id = me_class::evtocd; ///< or vtocd
    uint16_t instance = 0;
    std::optional<uint8_t> association;
    std::optional<uint16_t> associated;
    std::optional<uint16_t> input_tpid;
    std::optional<uint16_t> output_tpid;
    std::optional<uint8_t> downstream_mode;
    std::optional<std::array<uint8_t, dscp_map_bytes>> dscp_map;
    bool default_rows = false; ///< the table starts with the default rows
    bool unknown_rows = false; ///< the table has rows that nothing shows
    std::optional<uint8_t> enhanced_mode;
    std::vector<tag_row_image> rows;
    std::optional<uint8_t> upstream_mode;
    std::optional<uint16_t> upstream_tci;
};

/// Changes the attributes that the facts contain. `line` is that of the scenario that has them.
void apply(const tag_facts& facts, tag_operation& operation, unsigned line = 0);

/// The rows that an ONU creates with the table: frames with 0, 1 and 2 tags pass unchanged.
[[nodiscard]] std::vector<tag_row> default_rows();

/// Why the rows of a class 171 operation do not determine its effect; empty if they do.
[[nodiscard]] std::string table_fault(const tag_operation& operation);

/// Applies a row that the OLT sets: it replaces the row with the same key, or deletes it.
void set_row(tag_operation& operation, const tag_row_image& image, unsigned line = 0);

/// The ME that an operation belongs to: 0 if the association type is unknown or of a class that
/// the module does not mirror.
[[nodiscard]] me_class associated_class(const tag_operation& operation);

/// "PPTP Ethernet UNI", "IP host config data"; "type 99" for an undefined value.
[[nodiscard]] std::string association_name(me_class class_id, uint8_t association);

} // namespace gponflow
