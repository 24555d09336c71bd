// SPDX-License-Identifier: GPL-2.0-only
// What the ONU reports about instances that it creates itself: a set of the OLT changes one
// attribute of them, and the record needs the others too.
#pragma once

#include "tool/omci/defaults.h"
#include "tool/omci/mib.h"
#include "tool/omci/pairing.h"

namespace gponflow::omci {

/// Takes MIB upload parts and successful get responses; anything else, or a report that cannot be
/// read, changes nothing.
void learn_from_response(const exchange& item, record_store& store,
                         default_configuration& defaults);

} // namespace gponflow::omci
