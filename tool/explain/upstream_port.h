// SPDX-License-Identifier: GPL-2.0-only
// The GEM port network CTP that carries an upstream frame.
#pragma once

#include "tool/explain/explain_frame.h"

namespace gponflow {

/// The CTP of the walk that chose the GEM port of a passed frame; else the first one with this
/// port-ID that is not for the downstream direction. Null if there is none.
[[nodiscard]] const me_instance* upstream_ctp(const explanation& half);

} // namespace gponflow
