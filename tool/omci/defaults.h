// SPDX-License-Identifier: GPL-2.0-only
// The part of the module's default configuration that can be derived from reports of the ONU.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "include/me_class_id.h"
#include "tool/model/omci_attributes.h"
#include "tool/omci/mib.h"

namespace gponflow::omci {

/// ONU-G (G.988 9.1.1) up to its traffic management option; not mirrored.
[[nodiscard]] const attribute_class& onu_g_class();

class default_configuration {
public:
    /// Takes what an ONU reports about ONU-G and its priority queues; other classes are ignored.
    void learn(me_class class_id, uint16_t instance, const value_list& list);

    /// A `config` line, empty if nothing was learnt. The boundary between related ports of UNIs
    /// and of T-CONTs is below the upstream queues, which have the first bit of their id set
    /// (9.2.10). It is omitted if queues of both directions overlap.
    [[nodiscard]] std::string line() const;

private:
    void learn_queue(uint16_t instance, std::span<const uint8_t> related_port);

    std::optional<uint8_t> traffic_option;
    std::optional<uint32_t> least_upstream;
    uint32_t greatest_downstream = 0;
};

} // namespace gponflow::omci
