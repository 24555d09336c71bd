// SPDX-License-Identifier: GPL-2.0-only
// A captured OMCI bring-up as a scenario that runs by itself.
#pragma once

#include <string>
#include <string_view>

#include "tool/omci/capture.h"
#include "tool/omci/summary.h"

namespace gponflow::omci {

struct conversion {
    std::string scenario;
    conversion_summary counts;
};

/// The scenario loads the module, switches the engine on, gives the default configuration as far
/// as the ONU reported it, and repeats every command that the ONU carried out: MIB reset as
/// `clean`, create, set and delete of the mirrored classes as `me`. A comment over each command
/// names its frames; refused and damaged messages and classes that are not mirrored appear as
/// comments only. `title` names the capture in the first comment.
conversion convert(const capture& cap, std::string_view title);

} // namespace gponflow::omci
