// SPDX-License-Identifier: GPL-2.0-only
// Queues and schedulers in OMCI messages.
#pragma once

#include "include/me_class_id.h"
#include "tool/model/scheduling.h"
#include "tool/omci/mib.h"

namespace gponflow::omci {

/// Takes the attributes of a report or a command; classes without a part in scheduling are ignored.
void learn_scheduling(scheduling& into, me_class class_id, uint16_t instance,
                      const value_list& list);

} // namespace gponflow::omci
