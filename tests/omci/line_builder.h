// SPDX-License-Identifier: GPL-2.0-only
// Small OMCI captures, built in memory.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tool/omci/convert.h"
#include "tool/omci/link.h"

namespace gponflow::omci::test {

using bytes = std::vector<uint8_t>;

/// "0a 0b0c" to three bytes.
bytes from_hex(std::string_view text);

constexpr uint8_t request_bit = 0x40;  // AR
constexpr uint8_t response_bit = 0x20; // AK

/// A baseline message without CRC (44 bytes); `flags` are AR and AK, `content` is padded.
bytes baseline(uint16_t transaction, uint8_t flags, uint8_t type, uint16_t class_id,
               uint16_t instance, std::string_view content = {});

/// An extended message without CRC.
bytes extended(uint16_t transaction, uint8_t flags, uint8_t type, uint16_t class_id,
               uint16_t instance, std::string_view content = {});

/// The same with its CRC behind it.
bytes with_crc(bytes message);

constexpr mac_address olt{0x02, 0, 0, 0, 0, 0x01};
constexpr mac_address onu{0x02, 0, 0, 0, 0, 0x02};

/// An Ethernet frame with EtherType 0x88b5.
bytes ethernet(const mac_address& source, const mac_address& destination, const bytes& payload);

/// A pcap file. `cut` bytes are missing at the end of every frame, as with a small snapshot length.
bytes pcap_file(const std::vector<bytes>& frames, uint32_t link_type = 1, size_t cut = 0);

/// A line between one OLT and one ONU: messages are added, then the capture is converted.
class line {
public:
    /// A request and the success of the ONU.
    line& done(uint8_t type, uint16_t class_id, uint16_t instance, std::string_view content = {});

    /// A request and a response of that content.
    line& replied(uint8_t type, uint16_t class_id, uint16_t instance, std::string_view content,
                  std::string_view response);

    /// A request alone, under the next transaction id.
    line& asked(uint8_t type, uint16_t class_id, uint16_t instance, std::string_view content = {});

    line& from_olt(const bytes& message);
    line& from_onu(const bytes& message);

    capture captured() const;
    conversion converted() const;

    /// The command lines of the scenario behind those that load and switch on.
    std::vector<std::string> commands() const;

    std::vector<bytes> frames;

private:
    uint16_t transaction = 0;
};

/// Lines that are neither blank nor comments.
std::vector<std::string> command_lines(std::string_view scenario);

} // namespace gponflow::omci::test
