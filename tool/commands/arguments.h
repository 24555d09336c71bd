// SPDX-License-Identifier: GPL-2.0-only
// Arguments of the command line. All functions throw CLI::ValidationError with the reason and a
// suggestion.
#pragma once

#include <cstdint>
#include <string>

namespace gponflow {

/// A class of the module by name, in any letter case, or by number.
uint16_t read_class(const std::string& word);

/// An instance id, decimal or hexadecimal after 0x.
uint16_t read_instance(const std::string& word);

/// A number within bounds, decimal or hexadecimal after 0x; `name` names it in messages.
uint64_t read_number(const std::string& name, const std::string& word, uint64_t most,
                     uint64_t least = 0);

} // namespace gponflow
