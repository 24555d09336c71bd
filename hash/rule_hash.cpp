// SPDX-License-Identifier: GPL-2.0-only
#include "../include/atomics.h"
#include "rule_table.h"

namespace {

// Table i gives the CRC of a byte that i zero bytes follow, so that eight bytes need no chain of
// eight dependent look-ups.
constexpr size_t SLICES = 8;
struct crc_tables {
    u32 of[SLICES][256];
};

consteval crc_tables make_crc_tables()
{
    crc_tables tables{};
    for (u32 byte = 0; byte < 256; ++byte) {
        u32 crc = byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320u : 0u);
        tables.of[0][byte] = crc;
    }
    for (size_t slice = 1; slice < SLICES; ++slice)
        for (u32 byte = 0; byte < 256; ++byte) {
            const u32 before = tables.of[slice - 1][byte];
            tables.of[slice][byte] = tables.of[0][before & 0xFF] ^ (before >> 8);
        }
    return tables;
}

constexpr crc_tables CRC = make_crc_tables();

u32 crc_of_word(size_t slice, u32 word)
{
    return CRC.of[slice + 3][word & 0xFF] ^ CRC.of[slice + 2][(word >> 8) & 0xFF] ^
           CRC.of[slice + 1][(word >> 16) & 0xFF] ^ CRC.of[slice][word >> 24];
}

u32 crc32_of(const u8* bytes, u32 count)
{
    u32 crc = 0;
    for (; count >= 8; bytes += 8, count -= 8) {
        const u32 low = gpon::load_unaligned<u32>(bytes) ^ crc;
        crc = crc_of_word(4, low) ^ crc_of_word(0, gpon::load_unaligned<u32>(bytes + 4));
    }
    if (count >= 4) {
        crc = crc_of_word(0, gpon::load_unaligned<u32>(bytes) ^ crc);
        bytes += 4;
        count -= 4;
    }
    for (; count; ++bytes, --count)
        crc = CRC.of[0][(crc ^ *bytes) & 0xFF] ^ (crc >> 8);
    return crc;
}

// A CRC is linear; the mix spreads each of its bits over the low ones, which choose the bucket.
u32 mix(u32 h)
{
    h += h << 12;
    h ^= h >> 22;
    h += h << 4;
    h ^= h >> 9;
    h += h << 10;
    h ^= h >> 2;
    h += h << 7;
    h ^= h >> 12;
    return h;
}

} // namespace

u32 gpon_hash_calc_key(const u8* key, u16 key_len)
{
    const u32 crc = key ? crc32_of(key, key_len) : 0;
    return (mix(crc) >> 3) * 0x9E3779B1u;
}
