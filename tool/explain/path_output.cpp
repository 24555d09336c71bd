// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/path_output.h"

#include <algorithm>
#include <ostream>
#include <set>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/api/platform_hook.h"
#include "tool/capture/capture_file.h"
#include "tool/capture/frame_header.h"
#include "tool/explain/decision_texts.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/tagging_output.h"
#include "tool/explain/trace_output.h"
#include "tool/model/instance_json.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

constexpr size_t most_branches = 3;

std::string frame_title(const frame_path& path)
{
    if (path.query.capture.empty())
        return "frame";
    return "frame " + std::to_string(path.query.number) + " of " +
           capture_title(path.query.capture);
}

// The path of the frame, and the branches that ended at a fault.
std::set<size_t> shown_steps(const explanation& half, std::optional<uint16_t> bridge)
{
    std::set<size_t> shown;
    const walk_record& walk = half.walk;
    for (size_t i = 0; i < walk.steps.size(); ++i)
        if (walk.steps[i].passed || walk.replayed)
            shown.insert(i);
    if (!shown.empty())
        return shown;
    const std::vector<fault> faults = faults_of(walk, half.entities, bridge);
    for (size_t i = 0; i < std::min(most_branches, faults.size()); ++i)
        if (const std::optional<size_t> last = faults[i].step)
            for (const size_t step : branch_to(walk, *last))
                shown.insert(step);
    return shown;
}

std::string plural_of(me_class class_id)
{
    if (class_id == me_class::mbpcd)
        return "port";
    return class_id == me_class::gemiw ? "GEM interworking point" : class_name(class_id);
}

// "61 ports of other bridges: their VLAN filters drop the frame".
std::string folded_text(size_t count, const walk_step& step, bool other_bridge)
{
    const std::string reason = count > 1 ? plural_reason(step.dead_end) : step.dead_end;
    // Reasons that name the ports themselves.
    if (step.dead_end.starts_with("a port "))
        return std::to_string(count) + " " + (count > 1 ? reason : reason.substr(2));
    const std::string place = !other_bridge ? ""
                              : count > 1   ? " of other bridges"
                                            : " of another bridge";
    return counted(count, plural_of(step.at.class_id)) + place + ": " + reason;
}

struct folded_branches {
    const walk_step* first;
    bool other_bridge;
    size_t count;
};

std::vector<folded_branches> fold(const explanation& half, const std::set<size_t>& shown,
                                  std::optional<uint16_t> bridge)
{
    std::vector<folded_branches> groups;
    for (size_t i = 0; i < half.walk.steps.size(); ++i) {
        const walk_step& step = half.walk.steps[i];
        if (step.dead_end.empty() || shown.contains(i))
            continue;
        const bool other = step.at.class_id == me_class::mbpcd && bridge &&
                           bridge_of_step(half.walk, half.entities, i) != bridge;
        const auto known = std::ranges::find_if(groups, [&](const folded_branches& one) {
            return one.first->at.class_id == step.at.class_id &&
                   one.first->dead_end == step.dead_end &&
                   (one.other_bridge == other || step.dead_end.starts_with("a port "));
        });
        if (known == groups.end())
            groups.push_back({&step, other, 1});
        else
            ++known->count;
    }
    return groups;
}

void print_half(const explanation& half, std::optional<uint16_t> bridge, const line_places& places,
                std::ostream& out, const palette& colours)
{
    out << '\n' << colours.heading(kind_title(half.input.options.kind));
    out << (half.walk.replayed ? ", by the rule of an earlier frame" : "") << '\n';
    print_tagging({{}, half.tagging.steps, {}, half.tagging.discarded}, places, out, colours);
    if (half.tagging.discarded)
        return;
    const std::set<size_t> shown = shown_steps(half, bridge);
    for (const size_t i : shown)
        print_step(half.walk.steps[i], half.entities, out, colours);
    if (shown.empty() && half.input.options.kind == GPON_API_DOWN_UNI)
        out << "  every frame passes: this half is not walked\n";
    const char* title = "  not taken: ";
    for (const folded_branches& one : fold(half, shown, bridge)) {
        out << std::exchange(title, "             ")
            << folded_text(one.count, *one.first, one.other_bridge) << '\n';
    }
}

// "X is written in line.scn:12." or, if commands differ, "vlanFilterList of X is written in ...,
// forwardOperation in ....".
std::string written_in(const fault& of, const line_places& places)
{
    std::string text;
    const bool together = std::ranges::all_of(of.sources, [&](const attribute_source& one) {
        return one.line == of.sources.front().line;
    });
    if (together)
        return to_text(of.entity) + " is written in " + places.text(of.sources.front().line);
    for (const attribute_source& one : of.sources)
        text += text.empty() ? one.attribute + " of " + to_text(of.entity) + " is written in " +
                                   places.text(one.line)
                             : ", " + one.attribute + " in " + places.text(one.line);
    return text;
}

void print_places(const verdict& result, const line_places& places, std::ostream& out)
{
    for (size_t i = 0; i < std::min(most_branches, result.faults.size()); ++i)
        if (const fault& one = result.faults[i];
            !one.sources.empty() && one.sources.front().line != 0)
            out << written_in(one, places) << ".\n";
}

json faults_json(const verdict& result, const line_model& entities, const line_places& places)
{
    json faults = json::array();
    for (const fault& one : result.faults) {
        json entry = id_json(one.entity);
        entry["reason"] = one.reason;
        if (!one.sources.empty())
            entry["line"] = one.sources.front().line;
        entry["sources"] = sources_json(one.sources, places);
        if (const me_instance* me = entities.find(one.entity))
            entry["attributes"] = attributes_json(*me);
        faults.push_back(std::move(entry));
    }
    return faults;
}

// After a hook call of kind 3.
json leaving_json(const explanation& half, const line_places& places)
{
    json all = json::array();
    for (const leaving_frame& one : leaving_frames(half))
        all.push_back({{"uni", id_json(one.uni)}, {"tagging", tagging_json(one.carried, places)}});
    return all;
}

json half_json(const explanation& half, const line_places& places)
{
    json whole = {{"kind", hook_kind_name(half.input.options.kind)},
                  {"outcome", name_of(verdict_of(half).outcome)},
                  {"replayed", half.walk.replayed},
                  {"learnt", half.walk.learnt},
                  {"tagging", tagging_json(half.tagging, places)},
                  {"steps", steps_json(half.walk)}};
    if (half.input.options.kind == GPON_API_DOWN_ANI)
        whole["leaving"] = leaving_json(half, places);
    return whole;
}

json path_json(const line_places& places, const captured_frame& frame, const verdict& result,
               const std::vector<explanation>& halves)
{
    json whole = json_document("explain");
    whole["scenario"] = places.file;
    whole["frame"] = header_json(read_header(frame));
    whole["outcome"] = name_of(result.outcome);
    whole["sentence"] = result.sentence;
    whole["notes"] = result.notes;
    whole["faults"] = faults_json(result, halves.back().entities, places);
    const explanation& last = halves.back();
    if (result.outcome == line_outcome::passed && last.input.options.kind == GPON_API_UP_ANI)
        whole["gem_port"] = last.returned->gem;
    json parts = json::array();
    for (const explanation& half : halves)
        parts.push_back(half_json(half, places));
    whole["halves"] = std::move(parts);
    return whole;
}

} // namespace

void print_path(const frame_path& path, const scenario& input, std::ostream& out,
                const palette& colours)
{
    const line_places places = places_of(input);
    const verdict result = verdict_of(path, places);
    out << frame_title(path) << ": " << header_text(read_header(path.frame)) << '\n';
    out << (result.outcome == line_outcome::passed ? colours.good(result.sentence)
                                                   : colours.bad(result.sentence))
        << '\n';
    print_places(result, places, out);
    for (const std::string& note : result.notes)
        out << note << '\n';
    if (result.outcome == line_outcome::not_classified)
        return;
    for (const explanation& half : path.halves)
        print_half(half, path.bridge, places, out, colours);
    if (path.halves.front().input.options.kind == GPON_API_DOWN_ANI)
        print_leaving(path.halves.front(), places, out, colours);
}

void print_path_json(const frame_path& path, const scenario& input, std::ostream& out)
{
    const line_places places = places_of(input);
    json whole = path_json(places, path.frame, verdict_of(path, places), path.halves);
    if (path.query.uni)
        whole["from_uni"] = *path.query.uni;
    if (path.query.gem)
        whole["from_gem_port"] = *path.query.gem;
    if (path.bridge)
        whole["bridge"] = *path.bridge;
    print_json(whole, out);
}

void print_explanation_json(const explanation& explained, const scenario& input, std::ostream& out)
{
    const line_places places = places_of(input);
    print_json(path_json(places, explained.input.frame, verdict_of(explained, places), {explained}),
               out);
}

} // namespace gponflow
