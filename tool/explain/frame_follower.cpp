// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/frame_follower.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>

#include "tool/explain/event_reader.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/trace_output.h"
#include "tool/scenario/backend.h"

namespace gponflow {

namespace {

// Commands may change the entities while they are read.
constexpr int most_reads = 4;

} // namespace

current_entities::current_entities(std::unique_ptr<module_reader> reader)
    : reader_(std::move(reader))
{
    read();
}

void current_entities::refresh()
{
    changes_before_ = changes_;
    try {
        read();
    } catch (const refusal&) {
        // The last frames may be printed after the module was unloaded.
    }
}

void current_entities::read()
{
    std::optional<uint64_t> store = reader_->state().store;
    if (is_read_ && store && store == store_)
        return;
    for (int reads = 1;; ++reads) {
        entities_ = model_of(reader_->instances());
        const std::optional<uint64_t> after = reader_->state().store;
        if (after == store || reads == most_reads)
            break;
        store = after;
    }
    changes_ += is_read_ && store != store_;
    is_read_ = true;
    store_ = store;
}

frame_follower::frame_follower(const trace_limits& limits, event_source& source,
                               std::unique_ptr<module_reader> reader, std::ostream& out,
                               const palette& colours)
    : limits_(limits), source_(source), out_(out), colours_(colours), entities_(std::move(reader)),
      open_([this](const frame_events& one) { print(one); })
{
}

bool frame_follower::look(const end_test& ends)
{
    // All events of a look may have occurred before its first refresh.
    open_.set_mark(entities_.changes_before());
    bool ended = false;
    source_.read([&](const event_source::event& one) {
        read_.push_back(one);
        if (read_.size() < most_events)
            return true;
        take_events();
        ended = is_done() || ends();
        return !ended;
    });
    take_events();
    if (!ended)
        open_.flush();
    return ended;
}

// The entities are read after the events and before the frames are printed.
void frame_follower::take_events()
{
    entities_.refresh();
    count_lost();
    for (const event_source::event& one : read_)
        open_.event(one.record, one.cpu, one.gap);
    read_.clear();
}

// The number of the source is 0 again after an unload.
void frame_follower::count_lost()
{
    lost_ = std::max(lost_, source_.dropped());
}

void frame_follower::print(const frame_events& frame)
{
    if (is_done())
        return;
    ++frames_;
    const walk_record walk = read_events(frame.events, entities_.get(), nullptr, frame.lost);
    const bool changed = entities_.changes() != frame.mark;
    if (!limits_.json)
        return print_text(walk, changed);
    print_trace_json({.number = frames_,
                      .kind = kind_of_direction(walk.fwd_flag),
                      .walk = walk,
                      .frame = {},
                      .lost_events = lost_,
                      .entities_changed = changed},
                     out_);
    out_ << std::flush;
}

void frame_follower::print_text(const walk_record& walk, bool changed)
{
    out_ << colours_.heading("frame " + std::to_string(frames_)) << ", ";
    print_marked_frame(walk, entities_.get(), out_, colours_);
    if (changed)
        out_ << "Managed entities changed at the time of this frame: values of filters and "
                "mappers may be newer than its path.\n";
    out_ << std::endl;
}

} // namespace gponflow
