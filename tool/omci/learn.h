// SPDX-License-Identifier: GPL-2.0-only
// Reports of the ONU about instances that it creates itself: a set of the OLT changes one
// attribute, and the record needs the others too.
#pragma once

#include "tool/omci/defaults.h"
#include "tool/omci/mib.h"
#include "tool/omci/onu_facts.h"
#include "tool/omci/pairing.h"
#include "tool/omci/upload.h"

namespace gponflow::omci {

/// Reads MIB upload parts and successful get responses. Other or unreadable responses change
/// nothing.
void learn_from_response(const exchange& item, record_store& store, default_configuration& defaults,
                         upload_summary& uploads, onu_facts& onu);

} // namespace gponflow::omci
