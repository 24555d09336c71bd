// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/account.h"

#include <algorithm>
#include <ostream>
#include <tuple>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/api/platform_hook.h"
#include "tool/capture/frame_header.h"
#include "tool/explain/decision_texts.h"
#include "tool/explain/event_reader.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/fault.h"
#include "tool/explain/frame_entry.h"
#include "tool/explain/tagging_entry.h"
#include "tool/explain/traffic_notes.h"
#include "tool/model/line_model.h"
#include "tool/scenario/captured_run.h"
#include "tool/scenario/final_state.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

/// What the frames of one path have in common.
struct path_facts {
    bool ran = false;
    bool quick = false;
    std::string bridge;
    std::optional<uint16_t> passed; ///< the bridge that the frame passes into
    std::string tags;               ///< at the hook call, of a drop
    /// Of a drop, by the bridge that an earlier hook call led the frame into.
    std::map<std::optional<uint16_t>, std::string> reasons;
    std::vector<me_id> path; ///< of a frame from the fibre that tagging operations may rewrite
};

/// A hook call of a frame.
struct frame_call {
    packet_options options;
    std::optional<uint16_t> bridge; ///< that an earlier hook call led the frame into
};

/// A frame as it arrived, and the operations before the hook call.
struct received_frame {
    const captured_frame& frame;
    const std::vector<tag_step>& applied;
};

/// A frame that passed a hook call.
struct frame_passage {
    std::optional<uint16_t> bridge;
};

class frame_counter final : public captured_run {
public:
    frame_counter(backend& target, frame_account& account) : captured_run(target), account_(account)
    {
        show_progress();
    }

    exit_status count(const scenario& input, std::ostream& diagnostics)
    {
        for (const scenario_line& line : input.lines) {
            apply(line, entities_);
            const exit_status status = run({input.name, {line}}, diagnostics);
            if (status != status_ok)
                return status;
        }
        const line_places places = places_of(input);
        for (const std::string& gap : notes_.gaps(places))
            diagnostics << input.name << ": warning: " << gap << '\n';
        if (const std::string lost = notes_.lost_text(); !lost.empty())
            diagnostics << input.name << ": warning: " << lost << '\n';
        account_.notes = notes_.all(places);
        std::ranges::copy(input.notes, std::back_inserter(account_.notes));
        return status_ok;
    }

private:
    void on_frame(const packet_options& options, const captured_frame& frame) override
    {
        notes_.count(frame);
        if (options.kind < account_.directions.size())
            std::ignore = count_received({options, {}}, frame);
        else
            captured_run::on_frame(options, frame);
    }

    void on_path(const packet_options& options, const captured_frame& frame) override
    {
        notes_.count(frame);
        if (const auto passage = count_received({options, {}}, frame))
            std::ignore = count_received({second_call(options), passage->bridge}, frame);
    }

    direction_account& direction_of(const frame_call& at)
    {
        return account_.directions.at(at.options.kind);
    }

    // A frame whose tags are not known has no outcome.
    std::optional<frame_passage> count_received(const frame_call& at, const captured_frame& frame)
    {
        direction_account& direction = direction_of(at);
        ++direction.frames;
        if (!hides_tags(frame))
            return count_carried(at, frame);
        return count_hidden(at, tags_hidden);
    }

    // A field that decides is not in the capture.
    std::optional<frame_passage> count_hidden(const frame_call& at, const std::string& reason)
    {
        ++direction_of(at).untouched[reason];
        return {};
    }

    // A frame that a tagging operation discards never reaches the hook call.
    std::optional<frame_passage> count_carried(const frame_call& at, const captured_frame& frame)
    {
        carried_frame carried = carry_to_hook(entities_, at.options, frame);
        if (const std::string field = missing_field(entities_, at.options, frame, carried);
            !field.empty())
            return count_hidden(at, field);
        notes_.add_gaps(carried);
        if (!carried.discarded) {
            captured_frame rewritten = frame;
            rewritten.wire_length += carried.frame.size();
            rewritten.wire_length -= frame.data.size();
            rewritten.data = std::move(carried.frame);
            return count_called(at, rewritten, {frame, carried.steps});
        }
        const std::string tags = tags_text(read_header(frame));
        ++direction_of(at).drops[tags + ": " + discard_text(carried)];
        return {};
    }

    std::optional<frame_passage> count_called(const frame_call& at, const captured_frame& frame,
                                              const received_frame& received)
    {
        const path_call call = hook_by_path(at.options, frame.data);
        if (call.first) {
            notes_.add_call(call.call);
            paths_.push_back(facts_of(at, call.call, frame));
        }
        const std::optional<hook_return>& returned = call.call.returned;
        path_facts& path = paths_.at(call.path);
        direction_account& direction = direction_of(at);
        direction.quick += path.quick;
        if (!returned)
            ++direction.untouched["the module is not loaded"];
        else if (!path.ran && returned->api_result == 0)
            ++direction.untouched["the engine is disabled"];
        else if (returned->api_result == 0)
            return count_passed(at, *returned, path, frame);
        else
            ++direction
                  .drops[tags_of_drop(path, frame, received) + ": " + reason_of(at, path, frame)];
        return {};
    }

    walk_record walk_again(const frame_call& at, const captured_frame& frame)
    {
        const traced_call call = traced_hook(at.options, frame.data);
        notes_.add_call(call);
        return walk_of(call, entities_, frame.data);
    }

    // The walk drops the frame again, without another effect.
    const std::string& reason_of(const frame_call& at, path_facts& path,
                                 const captured_frame& frame)
    {
        const auto [reason, is_new] = path.reasons.try_emplace(at.bridge);
        if (is_new)
            reason->second = drop_reason(walk_again(at, frame), entities_, at.bridge);
        return reason->second;
    }

    // After the hook call, operations act on the path to each UNI of the bridge.
    std::optional<frame_passage> count_passed(const frame_call& at, const hook_return& returned,
                                              const path_facts& path, const captured_frame& frame)
    {
        const std::vector<leaving_frame> leaving = carry_to_unis(entities_, path.path, frame.data);
        if (const std::string field = missing_field(frame, leaving); !field.empty())
            return count_hidden(at, field);
        for (const leaving_frame& one : leaving)
            notes_.add_gaps(one.carried);
        direction_account& direction = direction_of(at);
        for (std::string& note : notes_of(leaving))
            direction.notes.insert(std::move(note));
        if (is_discarded(leaving)) {
            ++direction.drops[tags_text(read_header(frame)) + ": " + discard_text(leaving)];
            return {};
        }
        ++direction.destinations[destination(at.options, returned, path)];
        return frame_passage{path.passed};
    }

    // The instances of a frame from the fibre, if there are operations after the hook call.
    std::vector<me_id> path_of_call(const packet_options& options, const walk_record& walk) const
    {
        std::vector<me_id> path;
        if (options.kind == GPON_API_DOWN_ANI && !entities_.tag_operations().empty())
            for (const walk_step& step : walk.steps)
                if (step.passed)
                    path.push_back(step.at);
        return path;
    }

    // Frames of the same path have the same tags.
    path_facts facts_of(const frame_call& at, const traced_call& call,
                        const captured_frame& frame) const
    {
        const walk_record walk = walk_of(call, entities_, frame.data);
        path_facts facts{walk.ran, walk.replayed, bridge_text(walk, entities_), {}, {}, {}, {}};
        facts.passed = bridge_of_path(walk, entities_);
        facts.path = path_of_call(at.options, walk);
        if (call.returned && call.returned->api_result != 0) {
            facts.tags = tags_text(read_header(frame));
            facts.reasons[at.bridge] = drop_reason(walk, entities_, at.bridge);
        }
        return facts;
    }

    // "untagged, rewritten to VLAN 300 priority 0 by OPERATION"
    static std::string tags_of_drop(const path_facts& path, const captured_frame& frame,
                                    const received_frame& received)
    {
        if (frame.data == received.frame.data)
            return path.tags;
        const std::string tags = tags_text(read_header(received.frame));
        return tags == path.tags ? tags
                                 : tags + ", rewritten to " + path.tags + " by " +
                                       rewriters_text(received.applied);
    }

    std::string destination(const packet_options& options, const hook_return& returned,
                            const path_facts& path) const
    {
        switch (options.kind) {
        case 0:
            return "into " + path.bridge;
        case 1:
            return "GEM port " + std::to_string(returned.gem) + " from " + path.bridge;
        case 2:
            return "out of the UNI, not walked";
        default:
            return "from GEM port " + std::to_string(returned.gem) + " into " + path.bridge;
        }
    }

    frame_account& account_;
    line_model entities_; ///< at the current command
    traffic_notes notes_;
    std::vector<path_facts> paths_; ///< by number of the path
};

constexpr std::array<const char*, 4> direction_titles = {
    "upstream, from the UNI to the bridge", "upstream, from the bridge to the ANI",
    "downstream, from the bridge to the UNI", "downstream, from the ANI to the bridge"};

void print_lines(const char* outcome, const std::map<std::string, uint64_t>& lines,
                 std::ostream& out)
{
    for (const auto& [text, frames] : lines) {
        const std::string count = std::to_string(frames);
        out << "  " << outcome << std::string(count.size() < 6 ? 6 - count.size() : 0, ' ') << count
            << "  " << text << '\n';
    }
}

json rows_json(const std::map<std::string, uint64_t>& lines)
{
    json rows = json::array();
    for (const auto& [text, frames] : lines)
        rows.push_back({{"frames", frames}, {"text", text}});
    return rows;
}

} // namespace

exit_status account_scenario(const scenario& input, backend& target, frame_account& account,
                             std::ostream& diagnostics)
{
    return frame_counter(target, account).count(input, diagnostics);
}

void print_account(const frame_account& account, std::ostream& out)
{
    for (const std::string& sentence : account.entry)
        out << sentence << '\n';
    if (std::ranges::all_of(account.directions, [](const auto& one) { return one.frames == 0; }))
        out << "no frames\n";
    // In the order of the path of a frame.
    for (const size_t kind : {size_t{0}, size_t{1}, size_t{3}, size_t{2}}) {
        const direction_account& direction = account.directions.at(kind);
        if (direction.frames == 0)
            continue;
        out << direction_titles.at(kind) << ": " << counted(direction.frames, "frame") << ", "
            << direction.quick << " on the quick path\n";
        print_lines("passed ", direction.destinations, out);
        print_lines("dropped", direction.drops, out);
        print_lines("not classified", direction.untouched, out);
        for (const std::string& note : direction.notes)
            out << "  note            " << note << '\n';
        out << '\n';
    }
}

json account_json(const frame_account& account, const std::string& file)
{
    json directions = json::array();
    for (size_t kind = 0; kind < account.directions.size(); ++kind) {
        const direction_account& direction = account.directions.at(kind);
        directions.push_back({{"kind", hook_kind_name(static_cast<uint32_t>(kind))},
                              {"frames", direction.frames},
                              {"quick", direction.quick},
                              {"passed", rows_json(direction.destinations)},
                              {"dropped", rows_json(direction.drops)},
                              {"not_classified", rows_json(direction.untouched)},
                              {"notes", direction.notes}});
    }
    json whole = json_document("account");
    whole["scenario"] = file;
    whole["directions"] = std::move(directions);
    std::vector<std::string> notes = account.entry;
    notes.insert(notes.end(), account.notes.begin(), account.notes.end());
    whole["notes"] = std::move(notes);
    return whole;
}

} // namespace gponflow
