// SPDX-License-Identifier: GPL-2.0-only
// The classes of managed entities as the module's own records describe them, and the fields of the
// default configuration.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "include/me_attribute.h"

namespace gponflow {

/// Instances of a class that an instance records as pointing at it.
struct recordable_links {
    me_class class_id;
    size_t capacity;       ///< instances; above 1 the module prints a list
    std::string_view name; ///< of the dump's column or list
};

/// One class of the module's class table.
struct class_record {
    me_class id;
    std::string_view name;                     ///< "802_1P_MAPPER"
    size_t raw_size;                           ///< bytes of the raw attribute record
    bool created_by_links;                     ///< a link to a missing instance creates it
    bool scheduling;                           ///< has a walk descriptor, but no frame passes
    std::span<const gpon_me_field> fields;     ///< in the order of the module's dump
    std::span<const gpon_me_pointer> pointers; ///< in the order in which the module follows them
    std::vector<recordable_links> links;
    /// Writes the attributes of an instance that a link creates; null: all are 0.
    void (*fill_defaults)(void* raw, const gpon_flow_cfg_data& configuration);
};

/// All classes in the order of the module's class table.
[[nodiscard]] std::span<const class_record> me_classes();

/// Null if the class table does not contain the class.
[[nodiscard]] const class_record* find_me_class(me_class id);

/// The same by name, case insensitive.
[[nodiscard]] const class_record* find_me_class(std::string_view name);

/// The name of the class, or "class 300" for one that the class table does not contain.
[[nodiscard]] std::string class_name(me_class id);

/// "MAC bridge service profile" for class 45; the name of a class without a title.
[[nodiscard]] std::string class_title(me_class id);

/// The fields of gpon_flow_cfg_data that the module reads.
[[nodiscard]] std::span<const gpon_me_field> cfg_fields();

/// Field names are case sensitive; null without a field of that name.
[[nodiscard]] const gpon_me_field* find_field(std::span<const gpon_me_field> fields,
                                              std::string_view name);

/// Whether the field is written as a string of hexadecimal digits without separators.
[[nodiscard]] bool is_byte_string(const gpon_me_field& field);

} // namespace gponflow
