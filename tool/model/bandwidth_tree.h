// SPDX-License-Identifier: GPL-2.0-only
// T-CONTs with their schedulers, queues, GEM ports and rates.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "tool/model/line_model.h"
#include "tool/model/scheduling.h"
#include "tool/text/json_document.h"

namespace gponflow {

/// "1.244 Gbit/s" for a rate in bytes per second, as traffic descriptors have it (G.988 9.2.12).
[[nodiscard]] std::string rate_text(uint64_t bytes_per_second);

/// Prints each T-CONT with its schedulers, its queues and the GEM ports on them, and GEM ports
/// without a T-CONT.
void print_bandwidth_tree(const line_model& entities, const scheduling& queues, std::ostream& out);

/// The same as an array.
[[nodiscard]] json bandwidth_json(const line_model& entities, const scheduling& queues);

} // namespace gponflow
