// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/collect.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include "platform/api/platform_hook.h"
#include "tool/capture/frame_header.h"
#include "tool/explain/decision_texts.h"
#include "tool/explain/event_reader.h"
#include "tool/explain/fault.h"
#include "tool/explain/frame_entry.h"
#include "tool/explain/tagging_entry.h"
#include "tool/explain/traffic_notes.h"
#include "tool/scenario/captured_run.h"
#include "tool/scenario/final_state.h"

namespace gponflow {

namespace {

std::vector<me_id> path_of(const walk_record& walk)
{
    std::vector<me_id> path;
    for (const walk_step& step : walk.steps)
        if (step.passed)
            path.push_back(step.at);
    return path;
}

std::string entry_text(const packet_options& options)
{
    if (options.kind == GPON_API_UP_UNI)
        return "UNI " + std::to_string(options.port_word >> 4 & 15);
    if (options.kind == GPON_API_DOWN_ANI)
        return "GEM port " + std::to_string(options.gem);
    return {};
}

class collector final : public captured_run {
public:
    collector(backend& target, report_data& into) : captured_run(target), data_(into)
    {
        show_progress();
    }

    exit_status collect(const scenario& input, std::ostream& diagnostics)
    {
        for (const scenario_line& line : input.lines) {
            apply(line, data_.entities);
            source_ = input.name + ":" + std::to_string(line.line);
            if (const auto* capture = std::get_if<pcap_command>(&line.command))
                start_capture(capture->file);
            const exit_status status = run({input.name, {line}}, diagnostics);
            if (status != status_ok)
                return status;
        }
        finish(silences_of(input));
        data_.notes = notes_.all(data_.places);
        std::ranges::copy(input.notes, std::back_inserter(data_.notes));
        return status_ok;
    }

private:
    void start_capture(const std::string& file)
    {
        source_ = file;
        if (std::ranges::find(data_.captures, file) == data_.captures.end())
            data_.captures.push_back(file);
    }

    void on_frame(const packet_options& options, const captured_frame& frame) override
    {
        notes_.count(frame);
        if (options.kind < data_.directions.size())
            std::ignore = count_received({options, frame}, {});
        else
            captured_run::on_frame(options, frame);
    }

    void on_path(const packet_options& options, const captured_frame& frame) override
    {
        notes_.count(frame);
        const path_summary first = count_received({options, frame}, {});
        if (first.fate != frame_fate::passed)
            return;
        direction_row& direction = data_.directions.at(options.kind);
        ++direction.continued;
        direction.continued_quick += first.replayed;
        std::ignore = count_received({second_call(options), frame}, first.bridge);
    }

    // What the frames of one path have in common.
    struct path_summary {
        frame_fate fate = frame_fate::passed;
        std::string outcome;
        bool replayed = false;
        std::vector<me_id> path;
        std::optional<uint16_t> bridge; ///< that the frame passes into
    };

    // A frame whose tags are not known has no outcome.
    path_summary count_received(const explained_frame& input, std::optional<uint16_t> bridge)
    {
        const std::string place =
            input.frame.number ? source_ + " #" + std::to_string(input.frame.number) : source_;
        explanation explained{input, {}, {}, {}, {}};
        explained.bridge = bridge;
        explained.tagging.frame = input.frame.data;
        if (!hides_tags(input.frame))
            explained.tagging = carry_to_hook(data_.entities, input.options, input.frame);
        if (const std::string field =
                missing_field(data_.entities, input.options, input.frame, explained.tagging);
            !field.empty())
            return count_hidden(field, explained, place);
        notes_.add_gaps(explained.tagging);
        return explained.tagging.discarded ? count_discarded(std::move(explained), place)
                                           : count_called(std::move(explained), place);
    }

    path_summary count_hidden(const std::string& field, const explanation& explained,
                              const std::string& place)
    {
        path_summary hidden{frame_fate::untouched, field, false, {}, {}};
        std::ignore = count(hidden, explained, place);
        return hidden;
    }

    path_summary summary_of(const explanation& explained) const
    {
        path_summary summary;
        summary.fate = fate_of(explained);
        summary.outcome = outcome_of(explained, summary.fate);
        summary.replayed = explained.walk.replayed;
        summary.path = path_of(explained.walk);
        summary.bridge = bridge_of_path(explained.walk, data_.entities);
        return summary;
    }

    path_summary count_discarded(explanation explained, const std::string& place)
    {
        explained.returned = hook_return{0, 1, 0, 0};
        explained.walk.ran = true;
        path_summary summary = summary_of(explained);
        if (const flow_row row = count(summary, explained, place); is_new_drop(row))
            add_drop(std::move(explained), row);
        return summary;
    }

    bool has_operations_behind(const packet_options& options) const
    {
        return options.kind == GPON_API_DOWN_ANI && !data_.entities.tag_operations().empty();
    }

    void read_call(const traced_call& call, explanation& explained)
    {
        notes_.add_call(call);
        explained.returned = call.returned;
        explained.walk = walk_of(call, data_.entities, explained.tagging.frame);
    }

    // A frame that passed may be discarded on its path to each UNI.
    path_summary behind_hook(path_summary summary, const explanation& explained)
    {
        if (summary.fate != frame_fate::passed)
            return summary;
        const std::vector<leaving_frame> leaving =
            carry_to_unis(data_.entities, summary.path, explained.input.frame.data);
        if (std::string field = missing_field(explained.input.frame, leaving); !field.empty())
            return {frame_fate::untouched, std::move(field), summary.replayed, {}, {}};
        for (const leaving_frame& one : leaving)
            notes_.add_gaps(one.carried);
        std::set<std::string>& notes = data_.directions.at(explained.input.options.kind).notes;
        for (std::string& note : notes_of(leaving))
            notes.insert(std::move(note));
        if (is_discarded(leaving)) {
            summary.fate = frame_fate::dropped;
            summary.outcome = discard_text(leaving);
        }
        return summary;
    }

    // The call may be repeated: the walk drops the frame again, or its rule exists.
    void repeat_call(explanation& explained)
    {
        if (!explained.returned)
            read_call(traced_hook(explained.input.options, explained.tagging.frame), explained);
    }

    // The reason of a drop depends on the bridge, the rest of a path does not.
    path_summary known_summary(const path_call& call, explanation& explained)
    {
        if (call.first) {
            read_call(call.call, explained);
            paths_.push_back({summary_of(explained), explained.bridge});
        }
        const auto& [summary, bridge] = paths_.at(call.path);
        if (summary.fate != frame_fate::dropped || bridge == explained.bridge)
            return summary;
        repeat_call(explained);
        return summary_of(explained);
    }

    path_summary count_called(explanation explained, const std::string& place)
    {
        const packet_options& options = explained.input.options;
        path_summary summary =
            known_summary(hook_by_path(options, explained.tagging.frame), explained);
        if (has_operations_behind(options))
            summary = behind_hook(std::move(summary), explained);
        const flow_row row = count(summary, explained, place);
        if (is_new_drop(row)) {
            repeat_call(explained);
            add_drop(std::move(explained), row);
        }
        return summary;
    }

    static std::vector<vlan_tag> hook_tags_of(const explanation& explained, const flow_key& key)
    {
        const carried_frame& carried = explained.tagging;
        if (carried.steps.empty() || carried.discarded)
            return key.tags;
        return key_of(explained.input.options, carried.frame).tags;
    }

    static flow_row row_of(const path_summary& summary, const explanation& explained,
                           const std::string& place)
    {
        flow_row row;
        row.kind = explained.input.options.kind;
        row.entry = entry_text(explained.input.options);
        row.key = key_of(explained.input.options, explained.input.frame.data);
        row.hook_tags = hook_tags_of(explained, row.key);
        row.type = type_text(read_header(explained.input.frame));
        row.fate = summary.fate;
        row.outcome = summary.outcome;
        row.first = place;
        return row;
    }

    // Counts everything but a drop of a new reason.
    flow_row count(const path_summary& summary, const explanation& explained,
                   const std::string& place)
    {
        const flow_row row = row_of(summary, explained, place);
        direction_row& direction = data_.directions.at(row.kind);
        ++direction.frames;
        direction.passed += summary.fate == frame_fate::passed;
        direction.dropped += summary.fate == frame_fate::dropped;
        direction.untouched += summary.fate == frame_fate::untouched;
        direction.quick += summary.replayed;
        add_flow(row, summary, explained);
        if (summary.fate == frame_fate::dropped)
            count_drop(row);
        return row;
    }

    static frame_fate fate_of(const explanation& explained)
    {
        if (!explained.returned)
            return frame_fate::untouched;
        if (explained.returned->api_result != 0)
            return frame_fate::dropped;
        return explained.walk.ran ? frame_fate::passed : frame_fate::untouched;
    }

    std::string outcome_of(const explanation& explained, frame_fate fate) const
    {
        if (fate == frame_fate::untouched)
            return explained.returned ? "the engine is disabled" : "the module is not loaded";
        if (explained.tagging.discarded)
            return discard_text(explained.tagging);
        if (fate == frame_fate::dropped)
            return drop_reason(explained.walk, data_.entities, explained.bridge);
        const std::string bridge = bridge_text(explained.walk, data_.entities);
        switch (explained.input.options.kind) {
        case 0:
        case 3:
            return "into " + bridge;
        case 1:
            return "GEM port " + std::to_string(explained.returned->gem) + " from " + bridge;
        default:
            return "out of the UNI, not walked";
        }
    }

    // A rule may end in steps that are left over from an abandoned branch; the walk that learnt it
    // had none.
    std::vector<me_id> whole_path(const flow_row& row, const path_summary& summary)
    {
        flow_key key = row.key;
        key.tags = row.hook_tags;
        if (summary.fate == frame_fate::untouched)
            return summary.path;
        if (!summary.replayed)
            return learnt_paths_[key] = summary.path;
        const auto learnt = learnt_paths_.find(key);
        return learnt == learnt_paths_.end() ? summary.path : learnt->second;
    }

    // Downstream, operations act after the hook call.
    std::vector<leaving_frame> leaving_of(const explanation& explained, const flow_row& flow) const
    {
        if (flow.kind != GPON_API_DOWN_ANI || flow.fate != frame_fate::passed)
            return {};
        return carry_to_unis(data_.entities, flow.path, explained.input.frame.data);
    }

    // "OPERATION: REASON (set in line 12)".
    std::string operation_text(me_id operation, const std::string& reason,
                               const std::vector<attribute_source>& sources) const
    {
        return to_text(operation) + ": " + reason + in_parentheses(sources, data_.places);
    }

    std::vector<std::string> rewriting_of(const explanation& explained,
                                          const std::vector<leaving_frame>& leaving) const
    {
        std::vector<std::string> texts;
        const auto add = [&](const carried_frame& carried, const std::string& place) {
            for (const tag_step& step : carried.steps)
                texts.push_back(place + operation_text(step.operation, step.row, step.sources));
        };
        add(explained.tagging, "");
        for (const leaving_frame& one : leaving)
            add(one.carried, "to " + to_text(one.uni) + ", ");
        return texts;
    }

    std::vector<std::string> not_applied_to(const explanation& explained, const flow_row& flow,
                                            const std::vector<leaving_frame>& leaving) const
    {
        std::vector<tag_gap> after;
        if (flow.kind != GPON_API_DOWN_ANI)
            after = unapplied_operations(data_.entities, flow.path);
        for (const leaving_frame& one : leaving)
            after.insert(after.end(), one.carried.gaps.begin(), one.carried.gaps.end());
        std::vector<std::string> texts;
        for (const tag_gap& gap : gaps_of_both_halves(explained.tagging, std::move(after)))
            texts.push_back(operation_text(gap.operation, gap.why, gap.sources));
        return texts;
    }

    void add_tagging(const explanation& explained, flow_row& flow) const
    {
        if (flow.fate == frame_fate::untouched)
            return;
        const std::vector<leaving_frame> leaving = leaving_of(explained, flow);
        flow.rewriting = rewriting_of(explained, leaving);
        flow.not_applied = not_applied_to(explained, flow, leaving);
    }

    void add_flow(const flow_row& row, const path_summary& summary, const explanation& explained)
    {
        const flow_id id{row.kind, row.entry, row.key, row.hook_tags, row.type, row.outcome};
        auto known = flows_.find(id);
        if (known == flows_.end()) {
            // Frames beyond the limit still count for their direction and reason.
            if (data_.flows.size() == most_flows) {
                ++data_.flows_left_out;
                return;
            }
            known = flows_.emplace(id, data_.flows.size()).first;
            data_.flows.push_back(row);
            data_.flows.back().path = whole_path(row, summary);
            add_tagging(explained, data_.flows.back());
        }
        flow_row& flow = data_.flows[known->second];
        ++flow.frames;
        flow.octets += explained.input.frame.wire_length;
        flow.quick += summary.replayed;
    }

    drop_row* find_drop(const flow_row& row)
    {
        const auto known = std::ranges::find_if(
            data_.drops, [&](const drop_row& one) { return explains(one, row); });
        return known == data_.drops.end() ? nullptr : &*known;
    }

    void count_drop(const flow_row& row)
    {
        if (drop_row* known = find_drop(row))
            ++known->frames;
        else if (data_.drops.size() == most_drops)
            ++data_.drops_left_out;
    }

    bool is_new_drop(const flow_row& row)
    {
        return row.fate == frame_fate::dropped && data_.drops.size() < most_drops &&
               !find_drop(row);
    }

    void add_drop(explanation explained, const flow_row& row)
    {
        explained.entities = data_.entities;
        data_.drops.push_back({row.kind, row.key.tags, row.hook_tags, row.outcome, 1, row.first,
                               std::move(explained)});
    }

    void finish(std::vector<silence> silenced)
    {
        std::ranges::stable_sort(data_.drops, std::greater<>(), &drop_row::frames);
        if (const std::optional<std::string> text = query("show flow_rule"))
            data_.rules = read_rule_table(*text);
        data_.findings = check_provisioning(data_.entities, {false, std::move(silenced)}).findings;
    }

    using flow_id = std::tuple<uint32_t, std::string, flow_key, std::vector<vlan_tag>, std::string,
                               std::string>;

    report_data& data_;
    std::vector<std::pair<path_summary, std::optional<uint16_t>>> paths_; ///< by number of the
                                                                          ///< path, with the bridge
                                                                          ///< of its first frame
    traffic_notes notes_;
    std::map<flow_id, size_t> flows_; ///< places in the data
    std::map<flow_key, std::vector<me_id>> learnt_paths_;
    std::string source_;
};

} // namespace

const char* direction_title(uint32_t kind)
{
    constexpr std::array<const char*, 4> titles = {
        "upstream, from the UNI to the bridge", "upstream, from the bridge to the ANI",
        "downstream, from the bridge to the UNI", "downstream, from the ANI to the bridge"};
    return titles.at(kind);
}

bool explains(const drop_row& drop, const flow_row& flow)
{
    return flow.fate == frame_fate::dropped && drop.kind == flow.kind &&
           drop.tags == flow.key.tags && drop.hook_tags == flow.hook_tags &&
           drop.reason == flow.outcome;
}

std::vector<std::string> notes_of(const report_data& data)
{
    std::vector<std::string> notes = data.entry;
    notes.insert(notes.end(), data.notes.begin(), data.notes.end());
    return notes;
}

exit_status collect_report(const scenario& input, backend& target, report_data& into,
                           std::ostream& diagnostics)
{
    into.scenario = input.name;
    into.places = places_of(input);
    return collector(target, into).collect(without_last_unload(input), diagnostics);
}

} // namespace gponflow
