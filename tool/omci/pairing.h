// SPDX-License-Identifier: GPL-2.0-only
// Requests of the OLT and the responses of the ONU, brought together by transaction id.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "tool/omci/frame.h"

namespace gponflow::omci {

/// A message and the number of its frame in the capture, counted from 1 as packet viewers do.
struct numbered_message {
    size_t frame = 0;
    message msg;
};

/// One request with what became of it.
struct exchange {
    numbered_message request;
    std::vector<size_t> repeats;              ///< frames that sent the same request again
    std::optional<numbered_message> response; ///< the one that counts, if any was captured
};

struct pairing {
    std::vector<exchange> exchanges;                  ///< in the order of the requests
    std::vector<numbered_message> unpaired_responses; ///< no captured request asked for them
    size_t notifications = 0;
};

/// Pairs the messages of one ONU, given in the order of the capture. A request that comes again
/// under its transaction id joins its first sending; of several responses the first success
/// counts, since an ONU may refuse to do twice what it did already.
pairing pair_messages(std::span<const numbered_message> messages);

/// The result code of a response (G.988 clause 11.2.3), nothing if it is too short to hold one.
std::optional<uint8_t> result_code(const message& response);

} // namespace gponflow::omci
