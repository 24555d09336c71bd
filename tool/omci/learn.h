// SPDX-License-Identifier: GPL-2.0-only
// What responses of the ONU report about its managed entities.
#pragma once

#include <string>

#include "tool/model/scheduling.h"
#include "tool/omci/defaults.h"
#include "tool/omci/mib.h"
#include "tool/omci/onu_facts.h"
#include "tool/omci/pairing.h"
#include "tool/omci/table_read.h"
#include "tool/omci/upload.h"

namespace gponflow::omci {

/// Where the values of a response go, and the response.
struct report_destination {
    record_store& store;
    default_configuration& defaults;
    upload_summary& uploads;
    onu_facts& onu;
    scheduling& queues;
    table_reader& tables;
    const exchange& from;
};

/// Learns from the response to a get, a get next or a MIB upload next; other exchanges have no
/// effect. Returns lines of the scenario for instances that it already contains.
[[nodiscard]] std::string learn_from_response(report_destination to);

} // namespace gponflow::omci
