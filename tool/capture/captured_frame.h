// SPDX-License-Identifier: GPL-2.0-only
// A frame as a capture or a scenario holds it.
#pragma once

#include <cstddef>
#include <utility>

#include "tool/model/bytes.h"

namespace gponflow {

struct captured_frame {
    bytes data;             ///< from the destination address, as far as it was captured
    size_t wire_length = 0; ///< on the wire, without frame check sequence
    size_t number = 0;      ///< in its capture, from 1; 0 if it comes from no capture
    bool cooked = false;    ///< a Linux cooked capture has no destination address: it is 0 here

    captured_frame() = default;
    explicit captured_frame(bytes whole) : data(std::move(whole)), wire_length(data.size()) {}

    /// The capture holds the first bytes of the frame only.
    [[nodiscard]] bool is_cut() const { return data.size() < wire_length; }
};

} // namespace gponflow
