// SPDX-License-Identifier: GPL-2.0-only
// Converts a captured OMCI bring-up to a self-contained scenario.
#pragma once

#include <string>
#include <string_view>

#include "tool/model/scheduling.h"
#include "tool/omci/capture.h"
#include "tool/omci/summary.h"

namespace gponflow::omci {

struct conversion {
    std::string scenario;
    conversion_summary counts;
    scheduling queues;
};

/// The scenario loads the module, turns the engine on, sets the part of the default configuration
/// that the ONU reported, and repeats every command that the ONU carried out: MIB reset as `clean`,
/// create, set and delete of the mirrored classes as `me`. A comment above each command names its
/// frames. Refused and damaged messages and classes that are not mirrored become comments. `title`
/// names the capture in the first comment.
[[nodiscard]] conversion convert(const capture& cap, std::string_view title);

} // namespace gponflow::omci
