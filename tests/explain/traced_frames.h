// SPDX-License-Identifier: GPL-2.0-only
// Frames of a scenario and the events by which a trace reports them.
#pragma once

#include <sstream>

#include <gtest/gtest.h>

#include "platform/host/host.h"
#include "tests/explain/lines.h"
#include "tool/explain/event_reader.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/trace_output.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

/// The frame between the first and last lines, its VLAN passing or not.
inline const std::string passing_frame = "hook kind=up_ani " + frame_of_vlan_100 + "\n";
inline const std::string dropped_frame = "hook kind=up_ani " + frame_of_vlan_101 + "\n";
inline const std::string entering_frame = "hook kind=up_uni port=1 " + frame_of_vlan_100 + "\n";

/// The frames after a line, as a platform with several CPUs reports them: the frame with this
/// number is handled by this CPU.
inline std::vector<std::vector<gpon_trace_record>> calls_of(const scenario& input)
{
    struct recorder final : captured_run {
        using captured_run::captured_run;
        void on_frame(const packet_options& options, const captured_frame& frame) override
        {
            calls.push_back(traced_hook(options, frame.data).events);
            for (gpon_trace_record& event : calls.back())
                if (event.frame.packet)
                    event.frame.packet = reinterpret_cast<const void*>(calls.size());
        }
        std::vector<std::vector<gpon_trace_record>> calls;
    };
    const auto host = make_host_backend();
    recorder run(*host);
    std::ostringstream diagnostics;
    EXPECT_EQ(run.run(input, diagnostics), status_ok) << diagnostics.str();
    return run.calls;
}

inline std::vector<std::vector<gpon_trace_record>> calls_of(const std::string& text)
{
    return calls_of(parse_good(text));
}

inline const line_model& good_entities()
{
    static const line_model entities = final_entities(parse_good(good_line));
    return entities;
}

inline std::string marked(const std::vector<gpon_trace_record>& call)
{
    std::ostringstream out;
    print_marked_frame(read_events(call, good_entities()), good_entities(), out);
    return out.str();
}

inline std::string json_of_call(const std::vector<gpon_trace_record>& call)
{
    std::ostringstream out;
    const walk_record walk = read_events(call, good_entities());
    print_trace_json({1, kind_of_direction(walk.fwd_flag), walk, {}, 0}, out);
    return out.str();
}

} // namespace gponflow
