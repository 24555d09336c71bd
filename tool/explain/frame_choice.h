// SPDX-License-Identifier: GPL-2.0-only
// The frame that a command line names.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tool/scenario/command.h"

namespace gponflow {

/// A frame and how it reaches the hook.
struct explained_frame {
    packet_options options;
    captured_frame frame;
};

/// A frame as named on a command line.
struct frame_choice {
    std::vector<std::string> words; ///< hook options: kind=up_ani port=1 frame=0200...
    std::string capture;            ///< or a capture file, the words without frame
    size_t number = 1;              ///< of the frame in it, from 1
};

/// The frame; nothing when the choice names none. Throws std::runtime_error with the reason.
[[nodiscard]] std::optional<explained_frame> choose_frame(const frame_choice& from);

/// A frame of a capture by its number from 1. Throws std::runtime_error with the reason.
[[nodiscard]] captured_frame numbered_frame(const std::string& file, size_t number);

} // namespace gponflow
