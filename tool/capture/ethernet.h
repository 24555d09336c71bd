// SPDX-License-Identifier: GPL-2.0-only
// The Ethernet frames of a capture, whatever its link-layer header.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tool/capture/capture_file.h"
#include "tool/capture/captured_frame.h"

namespace gponflow {

/// Ethernet and both forms of Linux cooked captures (SLL, SLL2).
[[nodiscard]] bool carries_ethernet(int link_type);

/// The record as an Ethernet frame. A cooked capture has no destination address, and its type field
/// follows the addresses as in the frame. Nothing when the record is no Ethernet frame.
[[nodiscard]] std::optional<captured_frame> ethernet_frame(int link_type,
                                                           const capture_record& from);

/// "3 of 16 frames end in the capture before a field that the walk reads (snapshot length)".
[[nodiscard]] std::string cut_text(size_t cut, size_t frames);

/// Frames of a capture, with remarks for the user.
struct ethernet_capture {
    std::vector<captured_frame> frames;
    std::vector<std::string> warnings; ///< what is missing, and why
    size_t cut = 0;                    ///< frames that end before a field that the walk reads
};

/// The Ethernet frames among the first `most` records; the rest of the file is not read. Throws
/// std::runtime_error if the capture cannot be opened or is of another link type.
[[nodiscard]] ethernet_capture read_ethernet(capture_file& from, size_t most = SIZE_MAX);

} // namespace gponflow
