// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/explain_output.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <utility>

#include "include/packet_flow.h"
#include "platform/api/platform_hook.h"
#include "tool/capture/frame_header.h"
#include "tool/explain/decision_texts.h"
#include "tool/explain/tagging_entry.h"
#include "tool/explain/tagging_output.h"
#include "tool/explain/upstream_port.h"
#include "tool/model/upstream_queue.h"

namespace gponflow {

namespace {

// The attributes of an instance that decide the path of a frame.
std::string attributes(const me_instance& me)
{
    switch (me.id.class_id) {
    case me_class::mbpcd: {
        const auto port = me.as<gpon_raw_mbpcd>();
        return "bridgeID=" + hex_text(port.bridgeID) + " tpType=" + std::to_string(port.tpType) +
               " tpPointer=" + hex_text(port.tpPointer);
    }
    case me_class::mapper: {
        const auto mapper = me.as<gpon_raw_mapper>();
        std::string list;
        for (const uint16_t gem_iw : mapper.pbit_GemIWTP)
            list += (list.empty() ? "" : ",") + hex_text(gem_iw);
        return "pbit_GemIWTP=" + list;
    }
    case me_class::gemiw:
        return "gemCTPInstID=" + hex_text(me.as<gpon_raw_gemiw>().gemCTPInstID);
    case me_class::gemctp: {
        const auto ctp = me.as<gpon_raw_gemctp>();
        return "portID=" + std::to_string(ctp.portID) +
               " direction=" + std::to_string(ctp.direction);
    }
    case me_class::multigemiw:
        return "GemCTPInstID=" + hex_text(me.as<gpon_raw_multigemiw>().GemCTPInstID);
    default:
        return {};
    }
}

} // namespace

const char* kind_title(uint32_t kind)
{
    constexpr std::array<const char*, 4> titles = {
        "upstream, from the UNI to the bridge", "upstream, from the bridge to the ANI",
        "downstream, from the bridge to the UNI", "downstream, from the ANI to the bridge"};
    return kind < titles.size() ? titles.at(kind) : "a hook call without a direction";
}

uint32_t kind_of_direction(unsigned fwd_flag)
{
    switch (fwd_flag) {
    case UP_ANI:
        return GPON_API_UP_ANI;
    case UP_UNI:
        return GPON_API_UP_UNI;
    case DOWN_ANI:
        return GPON_API_DOWN_ANI;
    case DOWN_UNI:
        return GPON_API_DOWN_UNI;
    default:
        return UINT32_MAX;
    }
}

const char* hook_kind_name(uint32_t kind)
{
    constexpr std::array<const char*, 4> names = {"up_uni", "up_ani", "down_uni", "down_ani"};
    return kind < names.size() ? names.at(kind) : "other";
}

void print_step(const walk_step& step, const line_model& entities, std::ostream& out,
                const palette& colours)
{
    const std::string indent(2 * (step.depth + 1), ' ');
    const std::string name = to_text(step.at);
    out << indent << (step.passed ? colours.good(name) : name);
    if (const me_instance* me = entities.find(step.at))
        if (const std::string text = attributes(*me); !text.empty())
            out << "  " << text;
    out << '\n';
    for (const std::string& decision : step.decisions)
        out << indent << "    " << decision << '\n';
    if (!step.dead_end.empty())
        out << indent << "    " << colours.bad("x " + step.dead_end) << '\n';
}

namespace {

void print_steps(const walk_record& walk, const line_model& entities, std::ostream& out,
                 const palette& colours)
{
    for (const walk_step& step : walk.steps)
        print_step(step, entities, out, colours);
}

void print_queue(const explanation& explained, std::ostream& out)
{
    const me_instance* ctp = upstream_ctp(explained);
    const auto queue = ctp ? upstream_queue(*ctp, explained.entities) : std::nullopt;
    if (queue)
        out << ", " << to_text(*queue);
}

// A replay makes all steps of its rule, even if one of them refuses the frame.
bool reached_egress(const walk_record& walk)
{
    if (walk.replayed)
        return walk.steps.empty() || walk.steps.back().passed;
    return std::ranges::any_of(walk.steps, &walk_step::passed);
}

// Not visible in the tree: a refusal does not always drop the frame.
void print_pass_note(const walk_record& walk, std::ostream& out)
{
    for (const std::string& note : replay_notes(walk))
        out << note << '\n';
    if (!walk.replayed && !reached_egress(walk) && !walk.incomplete && walk.fwd_flag == DOWN_ANI)
        out << unfiltered_note << '\n';
}

void print_success(const explanation& explained, std::ostream& out, const palette& colours)
{
    out << colours.good("passes");
    if (explained.input.options.kind == GPON_API_UP_ANI) {
        out << " to GEM port " << explained.returned->gem;
        print_queue(explained, out);
    } else if (explained.input.options.kind == GPON_API_UP_UNI) {
        out << " into the bridge";
    } else if (explained.input.options.kind == GPON_API_DOWN_ANI) {
        out << " from GEM port " << explained.returned->gem
            << (reached_egress(explained.walk) ? " into the bridge" : "");
    } else {
        out << " to the UNI: this half is not walked";
    }
    if (explained.walk.replayed)
        out << "; its rule was replayed\n";
    else if (explained.walk.learnt)
        out << "; a rule was learnt\n";
    else
        out << (explained.walk.incomplete ? "\n" : "; no rule was learnt\n");
    print_pass_note(explained.walk, out);
}

void print_branch(const walk_record& walk, size_t last, std::ostream& out)
{
    out << "deepest branch: ";
    const char* between = "";
    for (const size_t at : branch_to(walk, last))
        out << std::exchange(between, " > ") << to_text(walk.steps[at].at);
    out << '\n';
}

void print_drop(const walk_record& walk, std::ostream& out, const palette& colours)
{
    out << colours.bad("dropped") << '\n';
    for (const size_t last : deepest_dead_ends(walk)) {
        print_branch(walk, last, out);
        for (const std::string& decision : walk.steps[last].decisions)
            out << "  " << decision << '\n';
    }
    if (const std::string ends = dead_ends_text(walk); !ends.empty()) {
        out << "The frame reached " << ends << ".\n";
        return;
    }
    if (!walk.other_failure.empty())
        out << "  " << walk.other_failure << '\n';
    if (walk.steps.empty() && !walk.incomplete && !walk.replayed)
        out << "The frame entered no managed entity.\n";
    else if (reached_egress(walk))
        out << "The " << (walk.replayed ? "replay" : "walk")
            << " succeeded, a later step failed.\n";
}

std::vector<me_id> path_of(const walk_record& walk, bool passed_only)
{
    std::vector<me_id> path;
    for (const walk_step& step : walk.steps)
        if (step.passed || !passed_only)
            path.push_back(step.at);
    return path;
}

} // namespace

std::vector<leaving_frame> leaving_frames(const explanation& explained)
{
    if (explained.input.options.kind != GPON_API_DOWN_ANI || !explained.returned ||
        explained.returned->api_result != 0)
        return {};
    return carry_to_unis(explained.entities, path_of(explained.walk, true),
                         explained.input.frame.data);
}

namespace {

// Downstream, operations act after the hook call.
std::vector<tag_gap> candidate_gaps(const explanation& explained)
{
    if (explained.input.options.kind != GPON_API_DOWN_ANI)
        return unapplied_operations(explained.entities, path_of(explained.walk, false));
    std::vector<tag_gap> gaps;
    for (const leaving_frame& one : leaving_frames(explained))
        gaps.insert(gaps.end(), one.carried.gaps.begin(), one.carried.gaps.end());
    return gaps;
}

} // namespace

// Operations on the path that were not applied.
std::vector<tag_gap> gaps_of(const explanation& explained)
{
    return gaps_of_both_halves(explained.tagging, candidate_gaps(explained));
}

// Operations after a hook call of the downstream direction, at each UNI of the bridge.
void print_leaving(const explanation& explained, const line_places& places, std::ostream& out,
                   const palette& colours)
{
    for (const leaving_frame& one : leaving_frames(explained)) {
        if (one.carried.steps.empty())
            continue;
        out << "to " << to_text(one.uni) << '\n';
        print_tagging(one.carried, places, out, colours);
    }
}

namespace {

void print_passage(const explanation& explained, const line_places& places, std::ostream& out,
                   const palette& colours)
{
    print_success(explained, out, colours);
    print_leaving(explained, places, out, colours);
    if (const auto leaving = leaving_frames(explained); is_discarded(leaving))
        out << colours.bad("dropped") << "\nThe tagging operation " << discard_text(leaving)
            << ".\n";
}

void print_if_incomplete(const walk_record& walk, std::ostream& out)
{
    if (walk.incomplete)
        out << "Events of this frame are missing: the kernel dropped them.\n";
}

void print_warnings(const explanation& explained, std::ostream& out)
{
    if (explained.events_lost)
        out << "The kernel dropped trace events: this output may be incomplete.\n";
    if (explained.others_mixed)
        out << "Other frames with the same addresses arrived at the same time: this may be the "
               "path "
               "of one of them.\n";
    else if (explained.walk.unseen)
        out << nothing_seen << '\n';
    else if (!explained.events_lost)
        print_if_incomplete(explained.walk, out);
}

// The GEM port of an upstream frame.
std::string gem_port_of(const walk_record& walk, const line_model& entities)
{
    if (walk.gem_port != 0)
        return std::to_string(walk.gem_port);
    for (const walk_step& step : walk.steps)
        if (const me_instance* ctp = entities.find(step.at);
            step.passed && ctp && step.at.class_id == me_class::gemctp)
            return std::to_string(ctp->as<gpon_raw_gemctp>().portID);
    return {};
}

} // namespace

std::string missing_field(const explanation& explained)
{
    const captured_frame& frame = explained.input.frame;
    std::string text =
        missing_field(explained.entities, explained.input.options, frame, explained.tagging);
    return text.empty() ? missing_field(frame, leaving_frames(explained)) : text;
}

std::string why_unclassified(const explanation& explained)
{
    if (std::string field = missing_field(explained); !field.empty())
        return field;
    if (!explained.returned)
        return "the module is not loaded";
    return "the engine is disabled (hook kind=switch param=1 enables it)";
}

std::string drop_text(const walk_record& walk)
{
    if (!walk.other_failure.empty())
        return walk.other_failure;
    const std::string ends = dead_ends_text(walk);
    if (!ends.empty())
        return ends;
    return walk.incomplete ? events_missing : "no managed entity takes frames of this kind";
}

std::vector<std::string> replay_notes(const walk_record& walk)
{
    std::vector<std::string> notes;
    if (!walk.replayed || walk.dropped)
        return notes;
    for (const walk_step& step : walk.steps) {
        if (step.dead_end.empty())
            continue;
        const std::string place = to_text(step.at);
        notes.push_back(step.failed ? "The replay ends at " + place +
                                          ", but the frame passes: no step of a replay drops a "
                                          "frame."
                                    : place + " refuses the frame, but a replay makes all steps "
                                              "of its rule, and none of them drops a frame.");
    }
    return notes;
}

std::string dead_ends_text(const walk_record& walk, size_t most)
{
    // By reason, in order of first occurrence.
    std::vector<std::pair<std::string, std::vector<std::string>>> ends;
    for (const size_t i : deepest_dead_ends(walk)) {
        const walk_step& step = walk.steps[i];
        auto known =
            std::ranges::find(ends, step.dead_end, [](const auto& end) { return end.first; });
        if (known == ends.end())
            known = ends.insert(ends.end(), {step.dead_end, {}});
        known->second.push_back(to_text(step.at));
    }
    std::string text;
    for (const auto& [reason, places] : ends) {
        text += text.empty() ? "" : "; ";
        const size_t named = most ? std::min(most, places.size()) : places.size();
        const bool all = named == places.size();
        for (size_t i = 0; i < named; ++i)
            text += (i == 0 ? "" : all && i + 1 == named ? " and " : ", ") + places[i];
        if (!all)
            text += " and " + std::to_string(places.size() - named) + " more";
        text += ": " + (places.size() > 1 ? plural_reason(reason) : reason);
    }
    return text;
}

void print_explanation(const explanation& explained, std::ostream& out, const palette& colours,
                       const line_places& places)
{
    out << colours.heading(kind_title(explained.input.options.kind)) << ", "
        << explained.input.frame.wire_length << " bytes\n";
    const bool classified =
        explained.returned && (explained.walk.ran || explained.returned->api_result != 0);
    if (!classified || !missing_field(explained).empty()) {
        out << "not classified: " << why_unclassified(explained) << '\n';
        return;
    }
    print_tagging(explained.tagging, places, out, colours);
    print_steps(explained.walk, explained.entities, out, colours);
    if (explained.tagging.discarded)
        out << colours.bad("dropped") << "\nThe tagging operation "
            << discard_text(explained.tagging) << ".\n";
    else if (explained.returned->api_result == 0)
        print_passage(explained, places, out, colours);
    else
        print_drop(explained.walk, out, colours);
    for (const tag_gap& gap : gaps_of(explained))
        out << gap_text(gap, places) << '\n';
    for (const std::string& note : notes_of(leaving_frames(explained)))
        out << note << '\n';
    print_warnings(explained, out);
}

void print_marked_frame(const walk_record& walk, const line_model& entities, std::ostream& out,
                        const palette& colours)
{
    out << colours.heading(kind_title(kind_of_direction(walk.fwd_flag))) << '\n';
    print_steps(walk, entities, out, colours);
    if (walk.dropped) {
        print_drop(walk, out, colours);
        print_if_incomplete(walk, out);
        return;
    }
    if (walk.end_lost) {
        print_if_incomplete(walk, out);
        return;
    }
    out << colours.good("passes");
    if (const std::string port = gem_port_of(walk, entities); !port.empty())
        out << (walk.fwd_flag == DOWN_ANI ? " from GEM port " : " to GEM port ") << port;
    // Whether a rule was learnt is not known without the event: its bucket may be taken.
    out << (walk.replayed ? "; its rule was replayed\n"
            : walk.learnt ? "; a rule was learnt\n"
                          : "\n");
    print_pass_note(walk, out);
    print_if_incomplete(walk, out);
}

} // namespace gponflow
