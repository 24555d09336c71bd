// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/verdict.h"

#include <algorithm>

#include "platform/api/platform_hook.h"
#include "tool/capture/frame_header.h"
#include "tool/explain/decision_texts.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/tagging_entry.h"
#include "tool/explain/tagging_output.h"
#include "tool/explain/upstream_port.h"
#include "tool/model/carry.h"
#include "tool/model/upstream_queue.h"
#include "tool/text/ethernet_numbers.h"

namespace gponflow {

namespace {

std::string entry_text(const frame_query& query)
{
    return query.uni ? "UNI " + std::to_string(*query.uni)
                     : "GEM port " + std::to_string(*query.gem);
}

// "T_CONT 0x8000, PRIORITY_QUEUE 0x0003", as far as they are known.
std::string scheduling_of(const explanation& half)
{
    const me_instance* ctp = upstream_ctp(half);
    if (!ctp)
        return {};
    std::string text;
    if (const uint16_t tcont = ctp->as<gpon_raw_gemctp>().tcontID; tcont != 0)
        text = " (" + to_text(me_id{me_class::tcont, tcont});
    if (const auto queue = upstream_queue(*ctp, half.entities))
        text += (text.empty() ? " (" : ", ") + to_text(*queue);
    return text.empty() ? text : text + ")";
}

// Whether a tagging operation discards the frame on its path to this UNI.
bool is_discarded_at(me_id uni, const std::vector<leaving_frame>& leaving)
{
    return std::ranges::any_of(leaving, [uni](const leaving_frame& one) {
        return one.uni == uni && one.carried.discarded;
    });
}

// The UNIs behind the ports of a bridge that the frame leaves by.
std::string unis_of(uint16_t bridge, const line_model& entities,
                    const std::vector<leaving_frame>& leaving)
{
    std::string text;
    for (const uni_port& uni : uni_ports(entities))
        for (const me_instance& port : entities.instances(me_class::mbpcd))
            if (is_port_of_uni(port, uni) && port.as<gpon_raw_mbpcd>().bridgeID == bridge &&
                !is_discarded_at(uni.id, leaving))
                text += (text.empty() ? "" : ", ") + std::to_string(uni.number);
    return text.empty() ? ", which has no UNI" : ", towards UNI " + text;
}

// The bridge that an upstream frame leaves from, if it is another than the one it entered.
std::optional<uint16_t> other_bridge(const frame_path& path)
{
    const explanation& last = path.halves.back();
    if (path.halves.size() < 2 || !path.query.uni)
        return {};
    for (const walk_step& step : last.walk.steps)
        if (const auto bridge = step.passed ? bridge_of(last.entities, step.at) : std::nullopt;
            bridge && bridge != path.bridge)
            return bridge;
    return {};
}

std::string passed_sentence(const frame_path& path)
{
    const explanation& last = path.halves.back();
    const std::optional<uint16_t> other = other_bridge(path);
    std::string text = "The frame passes from " + entry_text(path.query) +
                       (path.query.uni && !other ? " through " : " into ") +
                       bridge_text(path.bridge);
    if (other)
        text += ", and from " + bridge_text(other);
    if (path.query.uni)
        text += " to GEM port " + std::to_string(last.returned->gem) + scheduling_of(last);
    else if (path.bridge)
        text += unis_of(*path.bridge, last.entities, leaving_frames(path.halves.front()));
    return text + ".";
}

// The events of a half, or those that name its bridge, may be missing.
bool is_path_known(const frame_path& path)
{
    const bool unseen = std::ranges::any_of(path.halves, &walk_record::unseen, &explanation::walk);
    return !unseen && (path.bridge || !path.halves.front().walk.incomplete);
}

std::string sentence_without_path(const std::string& subject, const explanation& half)
{
    const std::string port = half.input.options.kind == GPON_API_UP_ANI
                                 ? " to GEM port " + std::to_string(half.returned->gem)
                                 : std::string();
    return subject + " passes" + port + "; its path is unknown.";
}

std::string held_text(const captured_frame& frame)
{
    return std::to_string(frame.data.size()) + " of the " + std::to_string(frame.wire_length) +
           " bytes of the frame";
}

std::string unclassified_sentence(const explanation& half)
{
    return "The frame is not classified: " + why_unclassified(half) + ".";
}

void note_bridge(const frame_path& path, verdict& into)
{
    if (const std::optional<uint16_t> other = other_bridge(path))
        into.notes.push_back(
            "The frame entered " + bridge_text(path.bridge) + " and leaves from " +
            bridge_text(other) +
            ": the hook call that chooses the GEM port has no information about the UNI.");
}

void note_capture(const captured_frame& frame, verdict& into)
{
    const frame_header header = read_header(frame);
    if (into.outcome == line_outcome::not_classified && frame.is_cut())
        into.notes.push_back("The capture holds " + held_text(frame) + ".");
    else if (header.cut)
        into.notes.push_back("The capture holds " + held_text(frame) +
                             ": the outcome is that of the captured part.");
    if (header.type == type_omci)
        into.notes.emplace_back("The frame is an OMCI message (type 0x88b5), not traffic: a "
                                "capture of OMCI messages is a line (FILE).");
}

void note_lost_events(const std::vector<explanation>& halves, verdict& into)
{
    if (std::ranges::any_of(halves, &walk_record::unseen, &explanation::walk)) {
        into.notes.emplace_back(nothing_seen);
        return;
    }
    for (const explanation& half : halves)
        if (half.events_lost || half.others_mixed || half.walk.incomplete) {
            into.notes.emplace_back("The kernel dropped trace events, or other frames arrived "
                                    "at the same time: the path may be incomplete.");
            return;
        }
}

// A refusal in a replay does not drop the frame.
void note_replay(const explanation& half, verdict& into)
{
    for (std::string& note : replay_notes(half.walk))
        into.notes.push_back(std::move(note));
}

// An operation of the UNI's bridge port acts after the half whose walk meets it.
bool is_applied(const frame_path& path, me_id operation)
{
    return std::ranges::any_of(path.halves, [operation](const explanation& half) {
        return std::ranges::find(half.tagging.steps, operation, &tag_step::operation) !=
               half.tagging.steps.end();
    });
}

void note_gap(const tag_gap& gap, const line_places& places, verdict& into)
{
    const std::string note = gap_text(gap, places) + ".";
    if (std::ranges::find(into.notes, note) == into.notes.end())
        into.notes.push_back(note);
}

void note_tagging(const frame_path& path, const explanation& half, const line_places& places,
                  verdict& into)
{
    for (const tag_gap& gap : gaps_of(half))
        if (!is_applied(path, gap.operation))
            note_gap(gap, places, into);
}

bool points_at(const line_model& entities, me_id from, me_id to)
{
    const me_instance* me = entities.find(from);
    const std::vector<me_pointer> pointers =
        me ? entities.pointers(*me) : std::vector<me_pointer>();
    return std::ranges::find(pointers, to, &me_pointer::to) != pointers.end();
}

// The pointer of an instance to another one of the class; of a list, the one that was set last.
std::optional<me_pointer> other_pointer(const line_model& entities, me_id from, me_class class_id)
{
    std::optional<me_pointer> last;
    if (const me_instance* me = entities.find(from))
        for (const me_pointer& pointer : entities.pointers(*me))
            if (pointer.to.class_id == class_id &&
                (!last || pointer.source_line > last->source_line))
                last = pointer;
    return last;
}

// A pointer that is set again leaves its earlier link behind: the module follows the link, in
// either direction.
void note_old_link(const line_model& entities, me_id from, me_id to, const line_places& places,
                   verdict& into)
{
    if (points_at(entities, from, to) || points_at(entities, to, from))
        return;
    for (const auto& [holder, target] : {std::pair(from, to), std::pair(to, from)})
        if (const auto pointer = other_pointer(entities, holder, target.class_id)) {
            into.notes.push_back("The link of " + to_text(holder) + " to " + to_text(target) +
                                 " is older than " + pointer->attribute + " " +
                                 hex_text(pointer->to.instance) + " (" +
                                 places.text(pointer->source_line) + ").");
            return;
        }
}

void note_old_links(const explanation& half, const line_places& places, verdict& into)
{
    const walk_step* last = nullptr;
    for (const walk_step& step : half.walk.steps) {
        if (!step.passed)
            continue;
        if (last && !half.walk.replayed)
            note_old_link(half.entities, last->at, step.at, places, into);
        last = &step;
    }
}

// The module compares the direction of a GEM port upstream only.
void note_direction(const frame_path& path, verdict& into)
{
    const auto of_port = [&](const me_instance& ctp) {
        return path.query.gem && ctp.as<gpon_raw_gemctp>().portID == *path.query.gem;
    };
    const me_instance* found = nullptr;
    for (const me_instance& ctp : path.halves.front().entities.instances(me_class::gemctp))
        if (of_port(ctp)) {
            if (ctp.as<gpon_raw_gemctp>().direction != gem_upstream)
                return;
            found = &ctp;
        }
    if (found)
        into.notes.push_back("The direction of " + to_text(found->id) +
                             " is 1, upstream only: the module does not compare it downstream.");
}

void note_unfiltered(const frame_path& path, verdict& into)
{
    const explanation& first = path.halves.front();
    const bool multicast = first.input.options.multicast != 0;
    if (multicast && !first.walk.replayed && !first.walk.incomplete && !path.bridge)
        into.notes.emplace_back(unfiltered_note);
}

// After a hook call of the downstream direction: UNIs that do not get a frame that passes, and
// what is left to the ONU.
void note_leaving(const explanation& half, verdict& into)
{
    const std::vector<leaving_frame> leaving = leaving_frames(half);
    for (const leaving_frame& one : leaving)
        if (one.carried.discarded && into.outcome == line_outcome::passed)
            into.notes.push_back("The frame does not leave by " + to_text(one.uni) +
                                 ": the tagging operation " + discard_text(one.carried) + ".");
    for (const std::string& note : notes_of(leaving))
        into.notes.push_back(note + ".");
}

line_outcome outcome_of(const explanation& half)
{
    // Without a GEM port from the platform, a frame is dropped even if the engine is disabled.
    if (!half.returned || (!half.walk.ran && half.returned->api_result == 0) ||
        !missing_field(half).empty())
        return line_outcome::not_classified;
    return half.returned->api_result == 0 && !is_discarded(leaving_frames(half))
               ? line_outcome::passed
               : line_outcome::dropped;
}

// Before the hook call, or after it at each UNI.
bool is_tagging_drop(const explanation& half)
{
    return half.tagging.discarded || half.returned->api_result == 0;
}

void explain_discard(const explanation& half, const std::string& subject, verdict& into)
{
    const auto blame = [&](const carried_frame& carried) {
        const tag_step& last = carried.steps.back();
        if (std::ranges::find(into.faults, last.operation, &fault::entity) == into.faults.end())
            into.faults.push_back({last.operation, discard_text(carried), {}, last.sources});
    };
    const std::vector<leaving_frame> leaving = leaving_frames(half);
    if (half.tagging.discarded)
        blame(half.tagging);
    else
        for (const leaving_frame& one : leaving)
            blame(one.carried);
    into.sentence = subject + " is dropped: the tagging operation " +
                    (half.tagging.discarded ? discard_text(half.tagging) : discard_text(leaving)) +
                    ".";
}

// ", rewritten by VLAN_TAG_OPERATE 0x0101": the tags of the sentence are not those received.
std::string rewritten_text(const std::vector<tag_step>& applied)
{
    const std::string operations = rewriters_text(applied);
    return operations.empty() ? operations : ", rewritten by " + operations;
}

// A filter or a mapper refuses the tags that an operation gave the frame: either may be wrong.
void blame_rewriters(const std::vector<tag_step>& applied, verdict& into)
{
    const bool by_tags = std::ranges::any_of(into.faults, [](const fault& one) {
        return one.entity.class_id == me_class::vtfd || one.entity.class_id == me_class::mapper;
    });
    for (const tag_step& step : applied)
        if (by_tags && is_rewriting(step))
            into.faults.push_back({step.operation,
                                   to_text(step.operation) + " of " + to_text(step.at) +
                                       " rewrote the frame: " + step.row,
                                   {},
                                   step.sources});
}

// Filters and mappers take a tag of VLAN 0 and priority 0 for none.
std::string untagged_text(const frame_header& header, const walk_record& walk)
{
    return header.tags.empty() || walk.tci != 0 ? "" : ", which counts as untagged";
}

void explain_drop(const explanation& half, std::optional<uint16_t> bridge,
                  const std::string& subject, const std::vector<tag_step>& applied, verdict& into)
{
    if (is_tagging_drop(half)) {
        explain_discard(half, subject, into);
        return;
    }
    const frame_header header = read_header(frame_at_hook(half));
    into.faults = faults_of(half.walk, half.entities, bridge);
    into.sentence = subject + " is dropped: " + drop_reason(half.walk, half.entities, bridge) +
                    "; the frame " + (header.tags.empty() && header.type ? "is " : "has ") +
                    tags_text(header) + untagged_text(header, half.walk) + rewritten_text(applied) +
                    ".";
    blame_rewriters(applied, into);
}

// `applied` are the operations before the hook call, those before an earlier one included.
verdict verdict_of(const explanation& half, std::optional<uint16_t> bridge,
                   const std::string& subject, const std::vector<tag_step>& applied)
{
    verdict result;
    result.outcome = outcome_of(half);
    if (result.outcome == line_outcome::not_classified) {
        result.sentence = unclassified_sentence(half);
    } else if (result.outcome == line_outcome::dropped) {
        explain_drop(half, bridge, subject, applied, result);
    } else {
        result.sentence =
            half.walk.unseen ? sentence_without_path(subject, half) : subject + " passes.";
    }
    return result;
}

} // namespace

namespace {

std::vector<tag_step> applied_to(const frame_path& path)
{
    std::vector<tag_step> steps;
    for (const explanation& half : path.halves)
        std::ranges::copy(half.tagging.steps, std::back_inserter(steps));
    return steps;
}

} // namespace

verdict verdict_of(const explanation& half, const line_places& places)
{
    verdict result = verdict_of(half, {}, "The frame", half.tagging.steps);
    note_leaving(half, result);
    note_capture(half.input.frame, result);
    if (missing_field(half).empty())
        for (const tag_gap& gap : gaps_of(half))
            note_gap(gap, places, result);
    note_replay(half, result);
    note_lost_events({half}, result);
    return result;
}

verdict verdict_of(const frame_path& path, const line_places& places)
{
    verdict result = verdict_of(path.halves.back(), path.bridge,
                                "The frame from " + entry_text(path.query), applied_to(path));
    if (result.outcome == line_outcome::passed) {
        if (is_path_known(path)) {
            result.sentence = passed_sentence(path);
            note_bridge(path, result);
        }
        note_unfiltered(path, result);
        note_direction(path, result);
    }
    for (std::string& note : notes_of(path.query, path.halves.front().entities))
        result.notes.push_back(std::move(note));
    note_leaving(path.halves.front(), result);
    note_capture(path.frame, result);
    if (!missing_field(path.halves.back()).empty())
        return result;
    note_lost_events(path.halves, result);
    for (const explanation& half : path.halves) {
        note_replay(half, result);
        note_old_links(half, places, result);
        note_tagging(path, half, places, result);
    }
    return result;
}

std::string_view name_of(line_outcome outcome)
{
    switch (outcome) {
    case line_outcome::passed:
        return "passed";
    case line_outcome::dropped:
        return "dropped";
    default:
        return "not classified";
    }
}

} // namespace gponflow
