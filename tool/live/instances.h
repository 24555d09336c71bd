// SPDX-License-Identifier: GPL-2.0-only
// The module's tables of managed entities, from the text that it prints.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

struct dumped_attribute {
    std::string name;
    bool array = false;
    std::vector<uint32_t> values; ///< one, unless it is an array
};

/// Instances that an instance has recorded as pointing at it.
struct dumped_link {
    std::string name; ///< of the row, as the module spells it
    bool list = false;
    bool cut = false; ///< the line of the module was too short for all of them
    std::vector<uint16_t> instances;
};

struct dumped_instance {
    me_id id;
    std::vector<dumped_attribute> attributes;
    std::vector<dumped_link> links;
};

/// Reads the output of "show raw_data", in the order of the text.
[[nodiscard]] std::vector<dumped_instance> read_instances(std::string_view log);

/// The raw attribute record with the values of the attributes.
[[nodiscard]] bytes raw_record(const dumped_instance& from);

/// The instances of the module with their links.
[[nodiscard]] line_model model_of(const std::vector<dumped_instance>& all);

} // namespace gponflow
