// SPDX-License-Identifier: GPL-2.0-only
// The headers of a frame for people. The walk reads them by its own rules.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "tool/capture/captured_frame.h"
#include "tool/capture/vlan_tag.h"
#include "tool/text/json_document.h"

namespace gponflow {

/// The fields that a frame has and its capture holds.
struct frame_header {
    size_t length = 0;       ///< on the wire
    std::string destination; ///< MAC address; empty if it is not in the capture
    std::string source;
    std::vector<vlan_tag> tags;   ///< outermost first
    std::optional<uint16_t> type; ///< EtherType behind the tags
    std::optional<uint8_t> protocol;
    std::optional<uint8_t> dscp;
    std::string from; ///< IP address, with the port after a colon if there is one
    std::string to;
    bool cut = false;       ///< a field that the walk reads is not in the capture
    bool inner_cut = false; ///< the capture ends in a tag behind those of `tags`
};

[[nodiscard]] frame_header read_header(const captured_frame& frame);

/// Whether the capture ends before the tags of the frame, or in the first one: its VLAN is unknown.
[[nodiscard]] bool hides_tags(const captured_frame& frame);

/// "IPv4 UDP", "ARP", "type 0x88cc"; "type not in the capture" if the frame was cut before. If it
/// was cut where an inner tag may be: "inner tag or type not in the capture".
[[nodiscard]] std::string type_text(const frame_header& header);

/// "VLAN 300 priority 6", outer tag first; "untagged". "VLAN 300 priority 6, inner tag not in the
/// capture" if the frame was cut in its inner tag.
[[nodiscard]] std::string tags_text(const frame_header& header);

/// All in one line: addresses, tags, protocol, length.
[[nodiscard]] std::string header_text(const frame_header& header);

/// The same as an object (definition "frame" of the schemas).
[[nodiscard]] json header_json(const frame_header& header);

} // namespace gponflow
