// SPDX-License-Identifier: GPL-2.0-only
// What the outcomes of many frames leave out.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "tool/capture/captured_frame.h"
#include "tool/model/carry.h"
#include "tool/scenario/backend.h"

namespace gponflow {

class traffic_notes {
public:
    /// A frame of a capture or a scenario, once.
    void count(const captured_frame& frame);

    /// The operations that were not applied to a frame.
    void add_gaps(const carried_frame& carried);

    /// A hook call with its trace events, of which some may be missing.
    void add_call(const traced_call& call) { lost_ += call.lost || call.unseen; }

    /// gap_text of each operation once, with its first reason.
    [[nodiscard]] std::vector<std::string> gaps(const line_places& places) const;

    /// The number of hook calls whose trace events may be missing, in a text; empty without one.
    [[nodiscard]] std::string lost_text() const;

    /// The gaps, the lost events, and the number of frames that their capture cuts.
    [[nodiscard]] std::vector<std::string> all(const line_places& places) const;

private:
    std::map<me_id, tag_gap> gaps_;
    size_t frames_ = 0;
    size_t cut_ = 0;
    size_t lost_ = 0;
};

} // namespace gponflow
