// SPDX-License-Identifier: GPL-2.0-only
// Requests of the OLT and responses of the ONU, paired by transaction id.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tool/omci/frame.h"

namespace gponflow::omci {

/// A message and the number of its frame in the capture, counted from 1 as packet viewers do.
struct numbered_message {
    size_t frame = 0;
    message msg;
    uint64_t time = 0; ///< of the capture, nanoseconds since 1970
};

/// One request with its repetitions and response.
struct exchange {
    numbered_message request;
    std::vector<size_t> repeats;              ///< frames that sent the same request again
    std::optional<numbered_message> response; ///< the one that counts, if any was captured
};

struct pairing {
    std::vector<exchange> exchanges;                  ///< in the order of the requests
    std::vector<numbered_message> unpaired_responses; ///< without a captured request
    size_t notifications = 0;
};

/// Pairs the messages of one ONU, in the order of the capture. A repeated request with the same
/// transaction id is added to its first transmission. Of several responses the first success
/// counts: an ONU may refuse to repeat a completed command.
[[nodiscard]] pairing pair_messages(std::span<const numbered_message> messages);

/// "frame 41, repeated in 43, response 44".
[[nodiscard]] std::string frames_text(const exchange& item);

/// The result code of a response (G.988 clause 11.2.3), nothing if it is too short.
[[nodiscard]] std::optional<uint8_t> result_code(const message& response);

} // namespace gponflow::omci
