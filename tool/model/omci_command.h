// SPDX-License-Identifier: GPL-2.0-only
// The commands of an OMCI stack to the module.
#pragma once

#include <cstdint>
#include <optional>

#include "include/me_class_id.h"
#include "tool/model/bytes.h"

namespace gponflow {

struct me_command {
    uint8_t message = 0; ///< OMCI message type
    me_class class_id = me_class::none;
    uint16_t instance = 0;
    uint16_t mask = 0xffff;
    std::optional<bytes> raw; ///< the raw attribute record; none: a null pointer
};

struct config_command {
    std::optional<bytes> raw; ///< a gpon_flow_cfg_data; none: a null pointer
};

} // namespace gponflow
