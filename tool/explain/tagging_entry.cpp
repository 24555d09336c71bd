// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/tagging_entry.h"

#include <algorithm>
#include <optional>

#include "include/mapper_values.h"
#include "platform/api/platform_hook.h"
#include "tool/capture/frame_header.h"
#include "tool/explain/decision_texts.h"
#include "tool/model/tag_places.h"
#include "tool/model/uni.h"
#include "tool/tagging/frame_tags.h"

namespace gponflow {

namespace {

// As the module finds it: the first one whose id ends in the number.
std::optional<me_id> uni_of(const line_model& entities, const packet_options& options)
{
    const uint32_t port = options.port_word >> 4 & 15;
    for (const me_class class_id : uni_classes)
        for (const me_instance& one : entities.instances(class_id))
            if (uni_number(one.id) == port)
                return one.id;
    return {};
}

carried_frame carry_to_bridge_exit(const line_model& entities, me_id uni, const bytes& frame)
{
    carried_frame carried = carry_from_uni(entities, uni, frame);
    if (carried.discarded)
        return carried;
    append(carried, carry_to_ani(entities, uni, carried.frame));
    return carried;
}

carried_frame uncarried(const line_model& entities, const bytes& frame)
{
    carried_frame carried{frame, {}, {}, false};
    for (const me_id operation : entities.tag_operations()) {
        const std::string why = placement_fault(entities, operation);
        tag_gap gap{operation, why.empty() ? "the UNI of the frame is not known (port=)" : why};
        if (!why.empty())
            gap.sources = placement_sources(entities, operation);
        carried.gaps.push_back(std::move(gap));
    }
    return carried;
}

std::string missing_in(const carried_frame& carried)
{
    const auto gap = std::ranges::find(carried.gaps, true, &tag_gap::frame_ends);
    return gap == carried.gaps.end()
               ? std::string()
               : to_text(gap->operation) + " reads a field that is not in the capture: " + gap->why;
}

// A mapper may take the priority of an untagged packet from its DSCP. Which mapper reads it is only
// known after the walk, which would learn a rule for the wrong priority.
std::string missing_dscp(const line_model& entities, const bytes& frame)
{
    const std::optional<tagged_frame> split = split_frame(frame, 0);
    if (!split || !split->tags.empty() || !split->ends_before_dscp())
        return {};
    for (const me_instance& mapper : entities.instances(me_class::mapper))
        if (mapper.as<gpon_raw_mapper>().unmark_frame_opt == gpon::FROM_DSCP)
            return to_text(mapper.id) + " reads the DSCP of the frame, which is not in the capture";
    return {};
}

} // namespace

carried_frame carry_to_hook(const line_model& entities, const packet_options& options,
                            const captured_frame& frame)
{
    const bool upstream = options.kind == GPON_API_UP_UNI || options.kind == GPON_API_UP_ANI;
    if (!upstream || entities.tag_operations().empty())
        return {frame.data, {}, {}, false};
    const std::optional<me_id> uni = uni_of(entities, options);
    if (options.kind == GPON_API_UP_UNI && uni)
        return carry_from_uni(entities, *uni, frame.data);
    if (options.kind == GPON_API_UP_ANI && uni && frame.number != 0)
        return carry_to_bridge_exit(entities, *uni, frame.data);
    return uncarried(entities, frame.data);
}

std::string discard_text(const carried_frame& carried)
{
    const tag_step& last = carried.steps.back();
    return to_text(last.operation) + " of " + to_text(last.at) + " discards the frame: " + last.row;
}

std::string discard_text(const std::vector<leaving_frame>& leaving)
{
    std::vector<std::string> texts;
    for (const leaving_frame& one : leaving)
        if (std::string text = discard_text(one.carried);
            std::ranges::find(texts, text) == texts.end())
            texts.push_back(std::move(text));
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : "; ") + text;
    return all;
}

bool is_rewriting(const tag_step& step)
{
    return !step.discarded && step.before != step.after;
}

std::string rewriters_text(const std::vector<tag_step>& steps)
{
    std::string text;
    for (const tag_step& step : steps)
        if (is_rewriting(step))
            text += (text.empty() ? "" : " and ") + to_text(step.operation);
    return text;
}

std::string missing_field(const line_model& entities, const packet_options& options,
                          const captured_frame& frame, const carried_frame& carried)
{
    if (!frame.is_cut())
        return {};
    if (hides_tags(frame))
        return tags_hidden;
    if (std::string text = missing_in(carried); !text.empty() || carried.discarded)
        return text;
    return options.kind == GPON_API_UP_ANI ? missing_dscp(entities, carried.frame) : "";
}

std::string missing_field(const captured_frame& frame, const std::vector<leaving_frame>& leaving)
{
    for (const leaving_frame& one : leaving)
        if (std::string text = missing_in(one.carried); frame.is_cut() && !text.empty())
            return text;
    return {};
}

std::vector<std::string> notes_of(const std::vector<leaving_frame>& leaving)
{
    std::vector<std::string> notes;
    for (const leaving_frame& one : leaving)
        for (const tag_step& step : one.carried.steps)
            if (std::string note = to_text(step.operation) + ": " + step.note;
                !step.note.empty() && std::ranges::find(notes, note) == notes.end())
                notes.push_back(std::move(note));
    return notes;
}

bool is_discarded(const std::vector<leaving_frame>& leaving)
{
    return !leaving.empty() && std::ranges::all_of(leaving, [](const leaving_frame& one) {
        return one.carried.discarded;
    });
}

} // namespace gponflow
