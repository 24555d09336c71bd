// SPDX-License-Identifier: GPL-2.0-only
// What an ONU reports about itself: ONU-G, ONU2-G and software images (G.988 clauses 9.1.1, 9.1.2
// and 9.1.4).
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>

#include "include/me_class_id.h"
#include "tool/text/json_document.h"

namespace gponflow::omci {

struct software_image {
    std::string version;
    bool active = false;
};

/// Empty texts were not reported.
struct onu_facts {
    std::string vendor;
    std::string version; ///< of the hardware
    std::string serial;  ///< "ABCD01020304"
    std::string equipment;
    std::map<uint16_t, software_image> images; ///< of the ONU as a whole, by instance

    /// Takes attributes of a get response or of a part of a MIB upload. Other classes and
    /// attributes change nothing.
    void learn(me_class class_id, uint16_t instance, uint16_t mask, std::span<const uint8_t> bytes);

    /// The version of the active software image; empty if no image is known to be active.
    [[nodiscard]] std::string firmware() const;
};

/// The members of a JSON object, without those that were not reported.
[[nodiscard]] json to_json(const onu_facts& facts);

} // namespace gponflow::omci
