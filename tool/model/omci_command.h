// SPDX-License-Identifier: GPL-2.0-only
// The commands of an OMCI stack to the module.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace gponflow {

using bytes = std::vector<uint8_t>;

struct me_command {
    uint8_t message = 0; ///< OMCI message type
    uint16_t class_id = 0;
    uint16_t instance = 0;
    uint16_t mask = 0xffff;
    std::optional<bytes> raw; ///< the raw attribute record; none: a null pointer
};

struct config_command {
    std::optional<bytes> raw; ///< a gpon_flow_cfg_data; none: a null pointer
};

} // namespace gponflow
