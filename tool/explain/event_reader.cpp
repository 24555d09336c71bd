// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/event_reader.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "me/class_table.h"
#include "pkt/header.h"
#include "tool/explain/decision_texts.h"

namespace gponflow {

namespace {

// As filters and mappers read it: they do not know every TPID that a rule key contains.
uint16_t outer_tci(const gpon_traced_frame& frame)
{
    const auto tpid = static_cast<uint16_t>(frame.tag[0] >> 16);
    return gpon::has_outer_tci(tpid) ? static_cast<uint16_t>(frame.tag[0]) : uint16_t{0};
}

bool has_header(const gpon_trace_record& event)
{
    return event.point != GPON_TRACEPOINT_WALK_STEP && event.point != GPON_TRACEPOINT_REPLAY_STEP;
}

// How frames pass through a class; null if they do not. The module's own look-up needs a loaded
// module, and this process may have none.
const gpon_me_fwd_op* passage_of(me_class class_id)
{
    const auto entry = std::ranges::find(me_table, class_id, &gpon_me_entry::class_id);
    return entry == std::end(me_table) ? nullptr : entry->fwd_op;
}

// Whether frames pass from a class to another one in this direction.
bool leads_to(me_class from, me_class to, unsigned direction)
{
    const gpon_me_fwd_op* passage = passage_of(from);
    if (!passage || !passage->next_classes)
        return false;
    for (const gpon_me_next_class* next = passage->next_classes; next->class_id != me_class::none;
         ++next)
        if (next->class_id == to && next->flags & direction)
            return true;
    return false;
}

bool is_broken(const line_model& entities, const me_pointer& pointer)
{
    return entities.state(pointer) != pointer_state::recorded;
}

// The pointer that a frame would have followed to leave an instance. The entries of a mapper are
// left out: only that of the frame's priority matters.
std::optional<me_pointer> broken_link_from(const line_model& entities, const me_instance& from,
                                           unsigned direction)
{
    for (const me_pointer& pointer : entities.pointers(from))
        if (!pointer.list_element && leads_to(from.id.class_id, pointer.to.class_id, direction) &&
            is_broken(entities, pointer))
            return pointer;
    return {};
}

// The same against the direction of a pointer.
std::optional<me_pointer> broken_link_to(const line_model& entities, me_id to, unsigned direction)
{
    for (const me_class from : {me_class::mbpcd, me_class::mapper}) {
        if (!leads_to(to.class_id, from, direction))
            continue;
        for (const me_instance& one : entities.instances(from))
            for (const me_pointer& pointer : entities.pointers(one))
                if (pointer.to == to && is_broken(entities, pointer))
                    return pointer;
    }
    return {};
}

// "no GEM_INTERWORK_TP or 802_1P_MAPPER": the classes that a step leads to in this direction.
// Empty if it leads to none.
std::string missing_text(me_class class_id, unsigned direction)
{
    const gpon_me_fwd_op* passage = passage_of(class_id);
    if (!passage || !passage->next_classes)
        return {};
    std::string text;
    for (const gpon_me_next_class* next = passage->next_classes; next->class_id != me_class::none;
         ++next)
        if (next->flags & direction)
            text += (text.empty() ? "no " : " or ") + class_name(next->class_id);
    return text;
}

// Why a frame failed, if no step of a walk is the cause; empty otherwise.
std::string failure_without_step(gpon_frame_end end)
{
    switch (end) {
    case GPON_END_NO_QUEUE:
        return no_queue;
    case GPON_END_NO_MAPPING:
        return no_mapping;
    case GPON_END_UNREADABLE:
        return unreadable_header;
    case GPON_END_NO_PACKET:
        return no_packet;
    case GPON_END_UNKNOWN_KIND:
        return unknown_kind;
    default:
        return {};
    }
}

class event_reader {
public:
    event_reader(std::span<const gpon_trace_record> events, const line_model& entities,
                 const bytes* frame, bool lost)
        : events_(events), model_(entities), frame_(frame), lost_(lost)
    {
    }

    walk_record read()
    {
        const auto header = std::ranges::find_if(events_, has_header);
        if (header != events_.end())
            record_.tci = outer_tci(header->frame);
        for (const gpon_trace_record& event : events_)
            take(event);
        record_.end_lost = (started_ || !record_.steps.empty()) && !ended_ && !hit_;
        record_.incomplete = lost_ || record_.end_lost || started_ != ended_;
        if (record_.replayed)
            finish_replay();
        else
            finish_walk();
        // The module may lack memory between two steps.
        if (end_ == GPON_END_STEP_FAILED && std::ranges::none_of(record_.steps, &walk_step::failed))
            record_.other_failure = some_step_failed;
        // A frame that passes was not dropped by a filter.
        for (walk_step& step : record_.steps)
            if (!record_.dropped && step.dead_end == filter_drops)
                step.dead_end = filter_blocks;
        return std::move(record_);
    }

private:
    void take(const gpon_trace_record& event)
    {
        record_.fwd_flag = event.frame.direction;
        switch (event.point) {
        case GPON_TRACEPOINT_WALK_START:
            started_ = record_.ran = true;
            break;
        case GPON_TRACEPOINT_WALK_STEP:
            add_step(event);
            break;
        case GPON_TRACEPOINT_WALK_END:
            ended_ = record_.ran = true;
            end_ = event.end;
            record_.dropped = end_ != GPON_END_PASSED;
            record_.gem_port = event.gemport_id;
            break;
        case GPON_TRACEPOINT_REPLAY_STEP:
            replay_step(event);
            break;
        case GPON_TRACEPOINT_RULE_HIT:
            hit_ = record_.ran = record_.replayed = true;
            record_.gem_port = event.gemport_id;
            break;
        case GPON_TRACEPOINT_RULE_LEARN:
            record_.learnt =
                event.learnt == GPON_LEARN_ADDED || event.learnt == GPON_LEARN_REPLACED;
            break;
        case GPON_TRACEPOINT_DROP:
            take_drop(event.end);
            break;
        default:
            break;
        }
    }

    // With the engine disabled, or in a call of an unknown kind, the frame fails unclassified.
    void take_drop(gpon_frame_end reason)
    {
        record_.dropped = true;
        if (reason != GPON_END_NO_MAPPING && reason != GPON_END_UNKNOWN_KIND)
            record_.ran = true;
        record_.other_failure = failure_without_step(reason);
    }

    walk_step& append(const gpon_trace_record& event)
    {
        record_.ran = true;
        walk_step& step = record_.steps.emplace_back();
        step.at = {gpon::to_me_class(event.step.class_id), event.step.inst_id};
        step.depth = event.step.depth - 1u;
        decide(step, event.step.decision);
        return step;
    }

    void add_step(const gpon_trace_record& event)
    {
        walk_step& step = append(event);
        statuses_.push_back(event.step.status);
        if (event.step.status == GPON_STEP_TOO_DEEP)
            step.dead_end = too_deep;
        else if (!passage_of(step.at.class_id))
            step.dead_end = no_passage;
        else if (event.step.status == GPON_STEP_FAILED)
            step.dead_end = failure_text(model_, step.at);
        step.failed = step.failed || event.step.status == GPON_STEP_TOO_DEEP ||
                      event.step.status == GPON_STEP_FAILED;
    }

    // A step that refuses the frame does not end a replay, one that fails does. Steps behind the
    // egress are left from an abandoned branch.
    void replay_step(const gpon_trace_record& event)
    {
        record_.replayed = true;
        if (replay_over_)
            return;
        walk_step& step = append(event);
        step.failed = event.step.status == GPON_STEP_FAILED;
        if (step.failed)
            step.dead_end =
                passage_of(step.at.class_id) ? failure_text(model_, step.at) : no_passage;
        step.passed = !step.failed;
        replay_over_ = step.failed || event.step.status == GPON_STEP_REACHES_EGRESS;
    }

    void decide(walk_step& step, unsigned decision) const
    {
        switch (decision) {
        case GPON_DECISION_FILTER_PASSES:
            add_filter(step, "pass");
            break;
        case GPON_DECISION_FILTER_DROPS:
            add_filter(step, "drop");
            step.dead_end = filter_drops;
            break;
        case GPON_DECISION_FILTER_MISPLACED:
            step.dead_end = filter_on_uni_side;
            break;
        case GPON_DECISION_MAPPER_SELECTS:
            step.decisions.push_back(priority_text(model_, step.at, record_.tci, frame_) +
                                     ": match");
            break;
        case GPON_DECISION_MAPPER_REFUSES:
            step.decisions.push_back(priority_text(model_, step.at, record_.tci, frame_) +
                                     ": no match");
            step.dead_end = not_selected;
            break;
        case GPON_DECISION_OTHER_SIDE:
            step.dead_end = side_text(model_, step.at);
            break;
        case GPON_DECISION_UNREADABLE:
            step.dead_end = unreadable;
            step.failed = true;
            break;
        default:
            break;
        }
    }

    void add_filter(walk_step& step, const char* outcome) const
    {
        if (const std::string text = filter_text(model_, step.at, record_.tci, record_.tci != 0);
            !text.empty())
            step.decisions.push_back(text + ": " + outcome);
    }

    // The rule of a multicast GEM port may end at the bridge port that refused the frame of its
    // walk.
    void finish_replay()
    {
        if (record_.steps.empty() || record_.steps.front().at.class_id != me_class::multigemiw)
            return;
        walk_step& last = record_.steps.back();
        last.passed = last.dead_end.empty();
    }

    bool has_branches(size_t i) const
    {
        return i + 1 < record_.steps.size() && record_.steps[i + 1].depth > record_.steps[i].depth;
    }

    // The path of the frame is the branch that reached the egress. Every other branch ended at its
    // last step.
    void finish_walk()
    {
        std::vector<walk_step>& steps = record_.steps;
        if (!steps.empty() && statuses_.back() == GPON_STEP_REACHES_EGRESS)
            for (const size_t at : branch_to(record_, steps.size() - 1))
                steps[at].passed = true;
        for (size_t i = 0; i < steps.size(); ++i)
            if (steps[i].passed || has_branches(i))
                steps[i].dead_end.clear();
            else if (steps[i].dead_end.empty())
                end_branch(i);
    }

    // The events of the next steps may be missing, and not the entities.
    void end_branch(size_t i)
    {
        walk_step& step = record_.steps[i];
        const me_instance* me = model_.find(step.at);
        if (statuses_[i] == GPON_STEP_CONTINUES && !record_.incomplete && me) {
            step.broken_link = broken_link_from(model_, *me, record_.fwd_flag);
            if (!step.broken_link)
                step.broken_link = broken_link_to(model_, step.at, record_.fwd_flag);
        }
        step.dead_end =
            step.broken_link ? broken_link_text(model_, *step.broken_link, step.at) : end_of(i);
    }

    std::string end_of(size_t i) const
    {
        const me_id at = record_.steps[i].at;
        std::string text;
        if (statuses_[i] == GPON_STEP_CONTINUES) {
            if (record_.incomplete)
                return {};
            text = missing_text(at.class_id, record_.fwd_flag);
        }
        return text.empty() ? end_text(model_, at) : text;
    }

    std::span<const gpon_trace_record> events_;
    const line_model& model_;
    const bytes* frame_; ///< may be null
    bool lost_;          ///< the kernel dropped events
    walk_record record_;
    std::vector<gpon_step_status> statuses_; ///< of the steps of a walk
    gpon_frame_end end_ = GPON_END_PASSED;   ///< of the walk
    bool started_ = false;
    bool ended_ = false;
    bool replay_over_ = false; ///< further steps are not on the path of the frame
    bool hit_ = false;
};

} // namespace

walk_record read_events(std::span<const gpon_trace_record> events, const line_model& entities,
                        const bytes* frame, bool lost)
{
    return event_reader(events, entities, frame, lost).read();
}

walk_record walk_of(const traced_call& call, const line_model& entities, const bytes& frame)
{
    walk_record walk = read_events(call.events, entities, &frame, call.lost);
    if (walk.fwd_flag == DOWN_ANI && call.returned)
        walk.entry_gem = call.returned->gem;
    if (call.unseen) {
        walk.unseen = walk.incomplete = walk.ran = true;
        walk.dropped = call.returned && call.returned->api_result != 0;
    }
    return walk;
}

} // namespace gponflow
