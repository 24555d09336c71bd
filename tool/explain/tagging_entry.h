// SPDX-License-Identifier: GPL-2.0-only
// Tagging operations between the place where a frame is seen and a hook call.
#pragma once

#include <string>
#include <vector>

#include "tool/capture/captured_frame.h"
#include "tool/model/carry.h"
#include "tool/scenario/command.h"

namespace gponflow {

/// The frame as a hook call gets it. A frame of kind up_uni is as the UNI receives it, and so is
/// one of kind up_ani if it comes from a capture and has a port. Other frames are as they are at
/// the hook call: the upstream operations of the line are gaps for up_ani.
[[nodiscard]] carried_frame carry_to_hook(const line_model& entities, const packet_options& options,
                                          const captured_frame& frame);

/// "VLAN_TAG_EXTEND_OPERATE 0x0001 discards the frame: ROW". The frame is discarded.
[[nodiscard]] std::string discard_text(const carried_frame& carried);

/// The same for a frame that is_discarded at each UNI, once for each operation and row.
[[nodiscard]] std::string discard_text(const std::vector<leaving_frame>& leaving);

/// Whether operations discard the frame at each of the UNIs. False if there is none.
[[nodiscard]] bool is_discarded(const std::vector<leaving_frame>& leaving);

/// Whether the operation changed the frame and passed it on.
[[nodiscard]] bool is_rewriting(const tag_step& step);

/// "OPERATION and OPERATION": those that rewrote the frame. Empty if none did.
[[nodiscard]] std::string rewriters_text(const std::vector<tag_step>& steps);

/// Why the path of a frame that its capture cuts is not known: its tags are cut off, or a field
/// that an operation before the hook call or a mapper after it reads. Empty for other frames.
[[nodiscard]] std::string missing_field(const line_model& entities, const packet_options& options,
                                        const captured_frame& frame, const carried_frame& carried);

/// The same for the operations after the hook call.
[[nodiscard]] std::string missing_field(const captured_frame& frame,
                                        const std::vector<leaving_frame>& leaving);

/// "OPERATION: NOTE" for the notes of the operations, each once.
[[nodiscard]] std::vector<std::string> notes_of(const std::vector<leaving_frame>& leaving);

} // namespace gponflow
