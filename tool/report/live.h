// SPDX-License-Identifier: GPL-2.0-only
// The data of a report from the state of a module, without frames.
#pragma once

#include "tool/live/module_reader.h"
#include "tool/report/collect.h"

namespace gponflow {

/// The entities, the counters, and a flow for each rule with the frames that used it. Frames that
/// were dropped or not learnt are only in the counters. Throws refusal.
[[nodiscard]] report_data live_report(module_reader& module);

} // namespace gponflow
