// SPDX-License-Identifier: GPL-2.0-only
// The data of a report: the frames of a scenario grouped by flow and by reason of drop.
#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tool/check/check.h"
#include "tool/explain/explain_frame.h"
#include "tool/live/module_reader.h"
#include "tool/live/rule_table.h"
#include "tool/model/line_model.h"

namespace gponflow {

enum class frame_fate {
    passed,
    dropped,
    untouched, ///< the engine is disabled, the module is not loaded, or a field that decides is not
               ///< captured
    learnt     ///< of a running module: a rule exists, but each frame may have failed for lack of a
               ///< priority queue
};

/// Frames with the same key, type, entry, outcome and tags at the hook call.
struct flow_row {
    uint32_t kind = 0; ///< of the hook call
    std::string entry; ///< "UNI 1", "GEM port 1025"; empty for directions that start at a bridge
    flow_key key;      ///< as received
    std::vector<vlan_tag> hook_tags; ///< after the tagging operations before the hook call
    std::string type;                ///< "IPv4 UDP"
    frame_fate fate = frame_fate::passed;
    std::string outcome; ///< destination, or reason of the drop
    uint64_t frames = 0;
    uint64_t octets = 0;
    uint64_t quick = 0; ///< replayed a rule
    std::string first;  ///< source of its first frame
    std::vector<me_id> path;
    std::vector<std::string> rewriting;   ///< of its first frame: each operation with its row
    std::vector<std::string> not_applied; ///< the same: operations on its path, with the reason
};

/// Dropped frames of one direction with the same tags, as received and at the hook call, and
/// reason.
struct drop_row {
    uint32_t kind = 0;
    std::vector<vlan_tag> tags;      ///< as received
    std::vector<vlan_tag> hook_tags; ///< as in flow_row; the reason is about these
    std::string reason;
    uint64_t frames = 0;
    std::string first;
    explanation example; ///< of the first frame
};

/// Of a running module only frames and quick are known.
struct direction_row {
    uint64_t frames = 0;
    uint64_t passed = 0;
    uint64_t dropped = 0;
    uint64_t untouched = 0;
    uint64_t quick = 0;
    uint64_t continued = 0;       ///< of the passed, frames that the next direction counts again
    uint64_t continued_quick = 0; ///< the same of `quick`
    std::set<std::string> notes;  ///< what other ONUs may do with frames
};

/// Only of a report about a running module.
struct live_state {
    std::vector<counter_value> counters; ///< since the module was loaded
    bool enabled = false;                ///< the engine
    bool changed = false;                ///< rules or entities changed while they were read
};

struct report_data {
    std::string scenario; ///< empty: the module of the running kernel
    line_places places;   ///< of its lines
    std::optional<live_state> live;
    std::vector<std::string> captures;
    std::vector<std::string> entry; ///< sentences about the entry of the frames, set by the caller
    std::vector<std::string> notes; ///< what the outcomes leave out
    std::array<direction_row, 4> directions; ///< by kind of hook call
    std::vector<flow_row> flows;             ///< in order of their first frames
    uint64_t flows_left_out = 0;             ///< frames beyond the limit
    std::vector<drop_row> drops;             ///< the most frequent first
    uint64_t drops_left_out = 0;             ///< frames beyond the limit
    std::optional<rule_table> rules;         ///< at the end
    line_model entities;                     ///< at the end
    std::vector<finding> findings;
};

/// Limits that keep the page readable.
constexpr size_t most_flows = 1000;
constexpr size_t most_drops = 30;
constexpr size_t most_findings = 200;

/// Runs the scenario without its last unload and groups its frames. Frames of hook calls with a
/// kind above 3 run but are not counted. Diagnostics as for run_scenario.
[[nodiscard]] exit_status collect_report(const scenario& input, backend& target, report_data& into,
                                         std::ostream& diagnostics);

/// Whether the drops of the flow are among those of the row.
[[nodiscard]] bool explains(const drop_row& drop, const flow_row& flow);

/// The sentences about the entry of the frames, then the notes.
[[nodiscard]] std::vector<std::string> notes_of(const report_data& data);

/// "upstream, from the UNI to the bridge"; the kind is at most 3.
[[nodiscard]] const char* direction_title(uint32_t kind);

} // namespace gponflow
