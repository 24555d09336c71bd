// SPDX-License-Identifier: GPL-2.0-only
// Prints the paths of frames while their trace events come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <vector>

#include "tool/explain/trace_device.h"
#include "tool/explain/walk_record.h"
#include "tool/live/event_frames.h"
#include "tool/live/event_source.h"
#include "tool/live/module_reader.h"
#include "tool/model/line_model.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// The entities of a module that commands may change at any time.
class current_entities {
public:
    /// Reads the entities. Throws refusal.
    explicit current_entities(std::unique_ptr<module_reader> reader);

    /// Reads them again if commands have changed them. A module that is gone has its last ones.
    void refresh();

    [[nodiscard]] const line_model& get() const { return entities_; }

    /// Changes so far.
    [[nodiscard]] uint64_t changes() const { return changes_; }

    /// Changes before the last refresh. An event that is read after it may have occurred before it.
    [[nodiscard]] uint64_t changes_before() const { return changes_before_; }

private:
    void read();

    std::unique_ptr<module_reader> reader_;
    line_model entities_;
    std::optional<uint64_t> store_; ///< when they were read
    bool is_read_ = false;
    uint64_t changes_ = 0;
    uint64_t changes_before_ = 0;
};

/// Prints each frame of a source of events, with the entities of the module. The output begins
/// while events still come, and the memory for events has a limit.
class frame_follower {
public:
    /// Asked between two groups of events. Returns true to end the look.
    using end_test = std::function<bool()>;

    /// Throws refusal if the entities cannot be read.
    frame_follower(const trace_limits& limits, event_source& source,
                   std::unique_ptr<module_reader> reader, std::ostream& out,
                   const palette& colours);

    frame_follower(const frame_follower&) = delete;
    frame_follower& operator=(const frame_follower&) = delete;

    /// Reads the events that have come, and prints the frames that have ended. Returns true if
    /// `ends` ended the reading: events that were not read are lost. Throws refusal.
    [[nodiscard]] bool look(const end_test& ends);

    /// Prints the frames that are open: no more events come.
    void finish() { open_.finish(); }

    /// Whether the limit of frames is reached. No more frames are printed.
    [[nodiscard]] bool is_done() const { return limits_.frames != 0 && frames_ >= limits_.frames; }

    [[nodiscard]] uint64_t frames() const { return frames_; }

    /// Events that the kernel dropped.
    [[nodiscard]] uint64_t lost() const { return lost_; }

    /// Events that are read before their frames are printed.
    static constexpr size_t most_events = 4096;

private:
    void take_events();
    void count_lost();
    void print(const frame_events& frame);
    void print_text(const walk_record& walk, bool changed);

    const trace_limits& limits_;
    event_source& source_;
    std::ostream& out_;
    const palette& colours_;
    current_entities entities_;
    event_frames open_;
    std::vector<event_source::event> read_; ///< not taken yet
    uint64_t frames_ = 0;
    uint64_t lost_ = 0;
};

} // namespace gponflow
