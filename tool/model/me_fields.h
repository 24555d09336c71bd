// SPDX-License-Identifier: GPL-2.0-only
// Names and places of the fields in the raw attribute records and in the default configuration.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace gponflow {

/// One field of a record, little-endian in memory.
struct me_field {
    std::string_view name;
    uint16_t offset;
    uint8_t width; ///< of one value: 1, 2 or 4 bytes
    uint8_t count; ///< 1, or the length of an array
    bool bytes;    ///< written as a blob of hexadecimal bytes (dscp2pbitMap)
};

/// One managed entity class (ITU-T G.988) that the module mirrors.
struct me_class_fields {
    uint16_t id;
    std::string_view name; ///< as the module's class table spells it, e.g. "802_1P_MAPPER"
    uint16_t raw_size;     ///< bytes of the raw attribute record
    std::span<const me_field> fields;
};

/// All supported classes, in the order of the module's class table.
std::span<const me_class_fields> me_classes();

/// Null when the class table does not hold the class.
const me_class_fields* find_me_class(uint16_t id);

/// The same by name, in any letter case.
const me_class_fields* find_me_class(std::string_view name);

/// The fields of gpon_flow_cfg_data that the module reads.
std::span<const me_field> cfg_fields();

/// Field names are case sensitive; null when there is none of that name.
const me_field* find_field(std::span<const me_field> fields, std::string_view name);

} // namespace gponflow
