// SPDX-License-Identifier: GPL-2.0-only
// What the ONU made of a request.
#pragma once

#include <cstdint>
#include <string>

#include "tool/omci/pairing.h"

namespace gponflow::omci {

struct outcome {
    bool done = false;
    uint16_t refused_mask = 0; ///< of a set that was done in part
    std::string why;           ///< not done: the reason
    std::string note;          ///< done: what is odd about it, if anything
};

/// A request without a response counts as done: captures of one direction exist, and an ONU
/// answers nothing when it was not asked to.
outcome judge(const exchange& item);

/// "success", "device busy", ... (G.988 clause 11.2.3).
std::string result_name(uint8_t code);

} // namespace gponflow::omci
