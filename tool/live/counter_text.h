// SPDX-License-Identifier: GPL-2.0-only
// Counters as a table, as JSON and as OpenMetrics text.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "tool/live/module_reader.h"

namespace gponflow {

struct counter_snapshot {
    engine_state state;
    std::vector<counter_value> counters;
    unsigned load = 0;    ///< of module_reader
    uint64_t reloads = 0; ///< snapshots of another module than the one before
    bool mixed = false;   ///< the module was loaded again during each of several readings
};

/// Reads the state and the counters of one module. before: the snapshot before, or null. Throws
/// refusal.
[[nodiscard]] counter_snapshot read_snapshot(module_reader& reader, const counter_snapshot* before);

/// Increases a second since an earlier snapshot.
struct counter_rates {
    const counter_snapshot* before = nullptr; ///< null: no rates; none if of another module
    double seconds = 0;
};

/// A line a counter; counters that are 0 only if `all`. A note if the module was loaded again
/// since the snapshot before.
void print_counters(const counter_snapshot& now, const counter_rates& rates, bool all,
                    std::ostream& out);

/// The document gponflow-counters-1; on one line if there may be more of them.
void print_counters_json(const counter_snapshot& now, bool one_line, std::ostream& out);

/// OpenMetrics text, with its end. Throws refusal for counters of several modules: a metrics
/// collector has no place for a warning.
void print_open_metrics(const counter_snapshot& now, std::ostream& out);

} // namespace gponflow
