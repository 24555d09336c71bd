// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/traffic_notes.h"

#include <utility>

#include "tool/capture/ethernet.h"
#include "tool/capture/frame_header.h"
#include "tool/explain/tagging_output.h"
#include "tool/text/text_table.h"

namespace gponflow {

void traffic_notes::count(const captured_frame& frame)
{
    ++frames_;
    // Reading the header of each frame would cost more than most hook calls.
    cut_ += frame.is_cut() && read_header(frame).cut;
}

void traffic_notes::add_gaps(const carried_frame& carried)
{
    for (const tag_gap& gap : carried.gaps)
        gaps_.try_emplace(gap.operation, gap);
}

std::vector<std::string> traffic_notes::gaps(const line_places& places) const
{
    std::vector<std::string> texts;
    for (const auto& [operation, gap] : gaps_)
        texts.push_back(gap_text(gap, places));
    return texts;
}

std::string traffic_notes::lost_text() const
{
    if (lost_ == 0)
        return {};
    return "trace events of " + counted(lost_, "hook call") +
           " may be missing: the bridge or the reason of a drop may be unknown";
}

std::vector<std::string> traffic_notes::all(const line_places& places) const
{
    std::vector<std::string> texts = gaps(places);
    if (std::string lost = lost_text(); !lost.empty())
        texts.push_back(std::move(lost));
    if (cut_ != 0)
        texts.push_back(cut_text(cut_, frames_));
    return texts;
}

} // namespace gponflow
