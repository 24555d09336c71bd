// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/trace_event_text.h"

#include <array>
#include <cstdio>

#include "include/packet_flow.h"

namespace gponflow {

namespace {

// In the order of the enumerations of platform/api/tracepoint.h.
constexpr std::array<const char*, GPON_TRACEPOINTS> event_names = {
    "gpon_walk_start", "gpon_walk_step", "gpon_walk_end", "gpon_replay_step", "gpon_rule_hit",
    "gpon_rule_learn", "gpon_drop",      "gpon_command",  "gpon_sweep"};
constexpr std::array<const char*, GPON_END_UNKNOWN_KIND + 1> end_names = {
    "passed",   "no_path",    "filtered",   "step_failed", "too_deep",
    "no_queue", "no_mapping", "unreadable", "no_packet",   "unknown_kind"};
constexpr std::array<const char*, GPON_STEP_TOO_DEEP + 1> status_names = {
    "failed", "ends_branch", "continues", "reaches_egress", "too_deep"};
constexpr std::array<const char*, GPON_DECISION_UNREADABLE + 1> decision_names = {
    "none",           "filter_passes",  "filter_drops", "filter_misplaced",
    "mapper_selects", "mapper_refuses", "other_side",   "unreadable"};
constexpr std::array<const char*, GPON_LEARN_UNCHANGED + 1> learn_names = {
    "added", "replaced", "bucket_taken", "outdated", "no_memory", "unchanged"};
constexpr std::array<const char*, GPON_COMMAND_REFUSED + 1> command_names = {
    "me", "config", "clean", "device", "operator", "refused"};

const char* direction_name(unsigned direction)
{
    switch (direction) {
    case UP_ANI:
        return "up_ani";
    case UP_UNI:
        return "up_uni";
    case DOWN_ANI:
        return "down_ani";
    case DOWN_UNI:
        return "down_uni";
    default:
        return "none";
    }
}

template <typename... Values> std::string printed(const char* format, Values... values)
{
    std::array<char, 256> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

std::string address_text(const unsigned char (&mac)[6])
{
    return printed("%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

std::string frame_text(const gpon_traced_frame& frame)
{
    return printed("direction=%s dst=%s src=%s tags=%u outer_tag=0x%08x inner_tag=0x%08x",
                   direction_name(frame.direction), address_text(frame.dst_mac).c_str(),
                   address_text(frame.src_mac).c_str(), +frame.tags, frame.tag[0], frame.tag[1]);
}

std::string step_text(const gpon_trace_record& event)
{
    return printed("direction=%s depth=%u class_id=%u inst_id=0x%04x status=%s decision=%s",
                   direction_name(event.frame.direction), +event.step.depth, +event.step.class_id,
                   +event.step.inst_id, status_names.at(event.step.status),
                   decision_names.at(event.step.decision));
}

std::string command_text(const decltype(gpon_trace_record::command)& command)
{
    return printed("kind=%s msg_type=%u class_id=%u inst_id=0x%04x attr_mask=0x%04x result=%d",
                   command_names.at(command.kind), +command.msg_type, +command.class_id,
                   +command.inst_id, +command.attr_mask, static_cast<int>(command.result)) +
           " text=\"" + command.text + "\"";
}

std::string fields_text(const gpon_trace_record& event)
{
    switch (event.point) {
    case GPON_TRACEPOINT_WALK_STEP:
    case GPON_TRACEPOINT_REPLAY_STEP:
        return step_text(event);
    case GPON_TRACEPOINT_WALK_END:
    case GPON_TRACEPOINT_DROP:
        return frame_text(event.frame) +
               printed(" reason=%s gem_port=%u", end_names.at(event.end), +event.gemport_id);
    case GPON_TRACEPOINT_RULE_HIT:
        return frame_text(event.frame) +
               printed(" remembered=%u gem_port=%u", +event.remembered, +event.gemport_id);
    case GPON_TRACEPOINT_RULE_LEARN:
        return frame_text(event.frame) + " result=" + learn_names.at(event.learnt);
    case GPON_TRACEPOINT_COMMAND:
        return command_text(event.command);
    case GPON_TRACEPOINT_SWEEP:
        return printed("rules=%u aged=%u buckets=%u", event.sweep.rules, event.sweep.aged,
                       event.sweep.buckets);
    default:
        return frame_text(event.frame);
    }
}

} // namespace

const char* event_name(gpon_tracepoint point)
{
    return event_names.at(point);
}

std::string event_text(const gpon_trace_record& event)
{
    return std::string(event_name(event.point)) + ": " + fields_text(event);
}

} // namespace gponflow
