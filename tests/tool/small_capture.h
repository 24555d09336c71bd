// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <cstdint>
#include <string>

namespace gponflow {

/// A pcap file with one Ethernet frame, of which the capture holds `frame` and the wire had
/// `wire_length` bytes; 0 means as many as the capture holds.
inline std::string small_capture(const std::string& frame, uint32_t wire_length = 0)
{
    std::string file;
    const auto word = [&file](uint32_t value) {
        for (unsigned shift = 0; shift < 32; shift += 8)
            file += static_cast<char>(value >> shift & 0xff);
    };
    const auto length = static_cast<uint32_t>(frame.size());
    constexpr uint32_t most = 65535, ethernet = 1;
    for (const uint32_t value : {0xa1b2c3d4u, 0x00040002u, 0u, 0u, most, ethernet})
        word(value);
    for (const uint32_t value : {0u, 0u, length, wire_length ? wire_length : length})
        word(value);
    return file + frame;
}

} // namespace gponflow
