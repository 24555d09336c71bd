// SPDX-License-Identifier: GPL-2.0-only
// Words of a command line that name what the module knows. All throw CLI::ValidationError with what
// is wrong and the nearest word that would do.
#pragma once

#include <cstdint>
#include <string>

namespace gponflow {

/// A class of the module by name, in any letter case, or by number.
uint16_t read_class(const std::string& word);

/// An instance id, decimal or hexadecimal after 0x.
uint16_t read_instance(const std::string& word);

/// A number within bounds, decimal or hexadecimal after 0x; `what` names it in messages.
uint64_t read_number(const std::string& what, const std::string& word, uint64_t most,
                     uint64_t least = 0);

} // namespace gponflow
