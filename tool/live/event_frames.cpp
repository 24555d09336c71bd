// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/event_frames.h"

#include <algorithm>
#include <cstring>

#include "include/packet_flow.h"

namespace gponflow {

namespace {

bool ends_path(gpon_tracepoint point)
{
    return point == GPON_TRACEPOINT_WALK_END || point == GPON_TRACEPOINT_RULE_HIT ||
           point == GPON_TRACEPOINT_DROP;
}

// An event after the end of a path is that of its drop, otherwise it is of the next call.
bool follows_end(const frame_events& of, const gpon_trace_record& record)
{
    const auto end = std::ranges::find_if(of.events, ends_path, &gpon_trace_record::point);
    if (record.point != GPON_TRACEPOINT_DROP || end->point == GPON_TRACEPOINT_DROP ||
        of.events.back().point == GPON_TRACEPOINT_DROP ||
        record.frame.direction != end->frame.direction)
        return false;
    const bool passed = end->point == GPON_TRACEPOINT_RULE_HIT || end->end == GPON_END_PASSED;
    return record.end == (passed ? GPON_END_NO_QUEUE : end->end);
}

bool is_of_replay(const gpon_trace_record& record)
{
    return record.point == GPON_TRACEPOINT_REPLAY_STEP || record.point == GPON_TRACEPOINT_RULE_HIT;
}

// Whether a frame with these events, none of which ends its path, can have the event.
bool continues(const frame_events& of, const gpon_trace_record& record)
{
    if (of.events.front().frame.direction != record.frame.direction)
        return false;
    const bool replayed = std::ranges::any_of(of.events, is_of_replay);
    if (record.point != GPON_TRACEPOINT_DROP)
        return replayed == is_of_replay(record);
    if (replayed)
        return record.end == GPON_END_NO_QUEUE;
    // These end a frame before its walk.
    return record.end != GPON_END_NO_MAPPING && record.end != GPON_END_UNKNOWN_KIND &&
           record.end != GPON_END_UNREADABLE && record.end != GPON_END_NO_PACKET;
}

// The drop for lack of a queue follows the end of a path, after log messages.
bool may_lack_queue(const frame_events& of)
{
    const gpon_trace_record& last = of.events.back();
    return last.frame.direction == UP_ANI && last.point != GPON_TRACEPOINT_DROP &&
           std::ranges::none_of(of.events, [](const gpon_trace_record& event) {
               return event.point == GPON_TRACEPOINT_WALK_END && event.end != GPON_END_PASSED;
           });
}

bool begins_path(const gpon_trace_record& record)
{
    return record.point == GPON_TRACEPOINT_WALK_START ||
           (record.point == GPON_TRACEPOINT_REPLAY_STEP && record.step.depth == 1);
}

// A frame that begins with another event was in progress when the events were enabled, or its first
// events are lost. A rule without steps has only its hit, and some drops come before a walk.
bool begins_frame(const gpon_trace_record& record)
{
    return begins_path(record) || record.point == GPON_TRACEPOINT_RULE_HIT ||
           record.point == GPON_TRACEPOINT_DROP;
}

bool same_key(const gpon_traced_frame& left, const gpon_traced_frame& right)
{
    return std::memcmp(left.dst_mac, right.dst_mac, sizeof(left.dst_mac)) == 0 &&
           std::memcmp(left.src_mac, right.src_mac, sizeof(left.src_mac)) == 0 &&
           left.direction == right.direction && std::ranges::equal(left.tag, right.tag);
}

} // namespace

template <typename Chosen> void event_frames::pass_on(Chosen is_chosen)
{
    for (auto one = open_.begin(); one != open_.end();) {
        if (!is_chosen(*one)) {
            ++one;
            continue;
        }
        const frame_events whole = std::move(one->of);
        one = open_.erase(one);
        take_(whole);
    }
}

event_frames::place event_frames::frame_of(const gpon_trace_record& record, int cpu)
{
    const void* const packet = record.frame.packet;
    const auto of_packet = [packet](const open_frame& one) { return one.packet == packet; };
    const auto known = std::ranges::find_if(open_, of_packet);
    if (known != open_.end() && !begins_path(record) &&
        (known->ended ? follows_end(known->of, record) : continues(known->of, record)))
        return known;
    pass_on(of_packet);
    return open_.insert(open_.end(), {{{}, false, mark_}, packet, cpu});
}

// A CPU that begins another path has ended those whose events are missing.
void event_frames::pass_on_torn(int cpu)
{
    pass_on([cpu](const open_frame& one) { return one.cpu == cpu && one.of.lost; });
}

bool event_frames::is_learnt_frame(const open_frame& one, const gpon_trace_record& record) const
{
    const gpon_trace_record& last = one.of.events.back();
    return last.point == GPON_TRACEPOINT_WALK_END && same_key(last.frame, record.frame);
}

void event_frames::add_learning(const gpon_trace_record& record, int cpu)
{
    for (open_frame& one : open_) {
        if (one.cpu != cpu || !is_learnt_frame(one, record))
            continue;
        one.of.events.push_back(record);
        one.quiet_reads = 0;
        return;
    }
}

void event_frames::event(const gpon_trace_record& record, int cpu, bool gap)
{
    if (gap)
        for (open_frame& one : open_)
            one.of.lost = one.of.lost || one.cpu == cpu;
    if (record.point == GPON_TRACEPOINT_RULE_LEARN)
        return add_learning(record, cpu);
    if (begins_path(record))
        pass_on_torn(cpu);
    const place frame = frame_of(record, cpu);
    if (frame->of.events.empty())
        frame->of.lost = !begins_frame(record) || (gap && !begins_path(record));
    frame->cpu = cpu;
    frame->quiet_reads = 0;
    frame->of.events.push_back(record);
    frame->ended = frame->ended || ends_path(record.point);
    pass_on([&](const open_frame& one) { return one.ended && one.cpu == cpu && &one != &*frame; });
}

void event_frames::flush()
{
    pass_on([](const open_frame& one) {
        const unsigned ended_reads = may_lack_queue(one.of) ? queue_quiet_reads : 1;
        return one.quiet_reads >= (one.ended ? ended_reads : most_quiet_reads);
    });
    for (open_frame& one : open_)
        ++one.quiet_reads;
}

void event_frames::finish()
{
    pass_on([](const open_frame&) { return true; });
}

} // namespace gponflow
