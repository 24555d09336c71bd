// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/crc32.h"

#include <array>

namespace gponflow::omci {

namespace {

constexpr uint32_t polynomial = 0x04c11db7;

constexpr std::array<uint32_t, 256> make_remainders()
{
    std::array<uint32_t, 256> remainders{};
    for (uint32_t byte = 0; byte < remainders.size(); ++byte) {
        uint32_t rest = byte << 24;
        for (int bit = 0; bit < 8; ++bit)
            rest = (rest << 1) ^ ((rest & 0x80000000u) != 0 ? polynomial : 0);
        remainders[byte] = rest;
    }
    return remainders;
}

constexpr std::array<uint32_t, 256> remainders = make_remainders();

} // namespace

uint32_t crc32_aal5(std::span<const uint8_t> bytes)
{
    uint32_t crc = 0xffffffffu;
    for (const uint8_t byte : bytes)
        crc = (crc << 8) ^ remainders[(crc >> 24) ^ byte];
    return ~crc;
}

} // namespace gponflow::omci
