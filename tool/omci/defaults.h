// SPDX-License-Identifier: GPL-2.0-only
// The part of the module's default configuration that an ONU's own reports give away.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tool/omci/attributes.h"
#include "tool/omci/mib.h"

namespace gponflow::omci {

/// ONU-G (G.988 9.1.1) as far as its traffic management option; not mirrored.
const attribute_class& onu_g_class();

class default_configuration {
public:
    /// Takes what an ONU reports about ONU-G and its priority queues; other classes are ignored.
    void learn(uint16_t class_id, uint16_t instance, const value_list& list);

    /// A `config` line, empty if nothing was learnt. The boundary between related ports of UNIs
    /// and of T-CONTs lies below the upstream queues, told by the first bit of their id (9.2.10);
    /// it is left out if queues of both directions overlap.
    std::string line() const;

private:
    void learn_queue(uint16_t instance, std::span<const uint8_t> related_port);

    std::optional<uint8_t> traffic_option;
    std::optional<uint32_t> least_upstream;
    uint32_t greatest_downstream = 0;
};

} // namespace gponflow::omci
