// SPDX-License-Identifier: GPL-2.0-only
// A query about a frame in the terms of the line: where it enters, and its tags.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/explain/explain_frame.h"
#include "tool/explain/frame_entry.h"

namespace gponflow {

/// A tag of the frame.
struct query_tag {
    uint16_t vlan = 0;
    uint8_t priority = 0;
};

struct frame_query : frame_entry {
    std::string capture;     ///< the frame itself; empty: built from the fields below
    size_t number = 1;       ///< of the frame in the capture, from 1
    std::string source;      ///< MAC address; empty: 02:00:00:00:00:02
    std::string destination; ///< MAC address; empty: 02:00:00:00:00:01
    std::optional<query_tag> outer;
    std::optional<query_tag> inner;
    uint16_t tpid = 0x8100;      ///< of the outer tag
    uint16_t ethertype = 0x0800; ///< behind the tags
    uint8_t dscp = 0;
};

/// The frame of the query. Throws std::runtime_error with the reason.
[[nodiscard]] captured_frame frame_of(const frame_query& query);

/// The path of one frame from the UNI to the GEM port, or back.
struct frame_path {
    frame_query query;
    captured_frame frame;
    std::vector<explanation> halves; ///< one for each hook call; the first drop ends them
    std::optional<uint16_t> bridge;  ///< that the first half leads into
};

/// Sends the frame through the hook calls of its direction. Throws std::runtime_error if the
/// query names no entry of the line.
[[nodiscard]] frame_path trace_frame(const frame_query& query, explain_session& session);

} // namespace gponflow
