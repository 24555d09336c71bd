// SPDX-License-Identifier: GPL-2.0-only
// Where frames enter a line, in the terms of the line: a UNI or a GEM port.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/model/line_model.h"
#include "tool/scenario/command.h"

namespace gponflow {

struct frame_entry {
    std::optional<uint16_t> uni; ///< upstream: the port number, the last byte of the instance id
    std::optional<uint16_t> gem; ///< downstream: the number of the GEM port on the fibre

    [[nodiscard]] bool is_named() const { return uni || gem; }
};

/// A UNI of a line.
struct uni_port {
    uint16_t number = 0;
    me_id id; ///< a PPTP Ethernet UNI or a VEIP
};

/// In the order of the module, which takes the first one with a number.
[[nodiscard]] std::vector<uni_port> uni_ports(const line_model& entities);

/// Whether a bridge port points at the UNI.
[[nodiscard]] bool is_port_of_uni(const me_instance& bridge_port, const uni_port& uni);

/// The first hook call of a frame that enters there. Throws std::runtime_error with the reason if
/// the line has no such entry, or if none is named.
[[nodiscard]] packet_options first_call(const frame_entry& entry, const line_model& entities);

/// The hook call that follows if the frame passes the first one.
[[nodiscard]] packet_options second_call(packet_options first);

/// The UNI that frames without a named entry enter at: the only one that has a bridge port. Nothing
/// if there are several.
[[nodiscard]] std::optional<uni_port> only_uni(const line_model& entities);

/// One sentence for each further UNI with the number of the named one: a hook call has the number
/// only.
[[nodiscard]] std::vector<std::string> notes_of(const frame_entry& entry,
                                                const line_model& entities);

} // namespace gponflow
