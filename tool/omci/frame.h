// SPDX-License-Identifier: GPL-2.0-only
// One OMCI message (ITU-T G.988 clause 11): the baseline set of 40 bytes with its AAL5-like
// trailer, and the extended set of up to 1980 bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "include/me_class_id.h"

namespace gponflow::omci {

/// G.988 table 11.2.2-1: the actions that the conversion distinguishes.
enum message_type : uint8_t {
    create = 4,
    delete_me = 6,
    set = 8,
    get = 9,
    mib_upload = 13,
    mib_upload_next = 14,
    mib_reset = 15,
    reboot = 25,
    get_next = 26,
};

/// One decoded message. `content` points into the decoded bytes.
struct message {
    uint16_t transaction = 0;
    uint8_t type = 0;                   ///< message_type or any other action number
    bool acknowledge_requested = false; ///< AR: the sender waits for a response
    bool acknowledgement = false;       ///< AK: this is a response, from the ONU
    bool extended = false;              ///< device identifier 0x0b instead of 0x0a
    me_class class_id = me_class::none;
    uint16_t instance = 0;
    std::span<const uint8_t> content; ///< 32 bytes in the baseline set
};

/// A message, or the reason why the bytes are no message.
struct decoded {
    std::optional<message> msg;
    std::string fault;
};

/// Checks length, trailer and CRC. The CRC may be missing (44 bytes) where the hardware removed it
/// before the capture, or zero. Ethernet padding is accepted after either.
[[nodiscard]] decoded decode_message(std::span<const uint8_t> bytes);

/// Alarm, attribute value change, test result: sent by the ONU of its own accord.
[[nodiscard]] bool is_notification(const message& msg);

/// "create", "MIB reset", ...; "type 3" for numbers without a meaning in G.988.
[[nodiscard]] std::string type_name(uint8_t type);

/// Big-endian reads. The caller has checked the length.
[[nodiscard]] uint16_t read_u16(std::span<const uint8_t> bytes, size_t at);
[[nodiscard]] uint32_t read_u32(std::span<const uint8_t> bytes, size_t at);

[[nodiscard]] bool all_zero(std::span<const uint8_t> bytes);

} // namespace gponflow::omci
