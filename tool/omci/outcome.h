// SPDX-License-Identifier: GPL-2.0-only
// The result of a request.
#pragma once

#include <cstdint>
#include <string>

#include "tool/omci/pairing.h"

namespace gponflow::omci {

struct outcome {
    bool done = false;
    uint16_t refused_mask = 0; ///< of a set that was done in part
    std::string why;           ///< not done: the reason
    std::string note;          ///< done: a remark, or empty
};

/// A request without a response counts as done: a capture may have one direction only, and an ONU
/// does not respond unless the request asks for it.
[[nodiscard]] outcome judge(const exchange& item);

/// "success", "device busy", ... (G.988 clause 11.2.3).
[[nodiscard]] std::string result_name(uint8_t code);

} // namespace gponflow::omci
