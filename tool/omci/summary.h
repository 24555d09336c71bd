// SPDX-License-Identifier: GPL-2.0-only
// The counts of a conversion, and the comment at the end of its scenario.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "include/me_class_id.h"
#include "tool/omci/capture.h"
#include "tool/omci/onu_facts.h"
#include "tool/omci/pairing.h"
#include "tool/omci/upload.h"

namespace gponflow::omci {

/// Requests by action.
struct request_counts {
    size_t creates = 0;
    size_t sets = 0;
    size_t deletes = 0;
};

struct conversion_summary {
    request_counts written;                        ///< commands in the scenario
    size_t resets = 0;                             ///< MIB resets, `clean` in the scenario
    std::map<me_class, request_counts> unmirrored; ///< by class, done by the ONU
    std::map<uint8_t, size_t> other_types; ///< requests that do not configure mirrored classes
    std::vector<remark> refused;
    std::vector<remark> unreadable; ///< valid messages with unreadable attributes
    size_t without_response = 0;
    size_t repeats = 0;
    size_t extended = 0; ///< requests of the extended message set
    upload_summary uploads;
    onu_facts onu; ///< what the ONU reported about itself
};

/// Comment lines, each ended by a line feed.
[[nodiscard]] std::string closing_comment(const conversion_summary& counts, const capture& cap,
                                          const pairing& pairs);

} // namespace gponflow::omci
