// SPDX-License-Identifier: GPL-2.0-only
// How the ONU responded: times, repetitions, requests without a response.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "tool/omci/capture.h"
#include "tool/omci/pairing.h"

namespace gponflow::omci {

struct response_statistics {
    size_t requests = 0; ///< repetitions count once
    size_t answered = 0;
    size_t unrequested = 0;         ///< requests that ask for no response and have none
    std::vector<remark> repeated;   ///< first transmission, and how often it was sent again
    std::vector<remark> unanswered; ///< requests that ask for a response and have none
    std::optional<uint64_t> median; ///< nanoseconds from the first transmission to the response;
                                    ///< nothing if the capture has no times
    std::optional<uint64_t> longest;
    remark slowest; ///< the request with the longest time
};

[[nodiscard]] response_statistics statistics_of(const pairing& pairs);

} // namespace gponflow::omci
