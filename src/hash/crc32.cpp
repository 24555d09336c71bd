// SPDX-License-Identifier: GPL-2.0-only
#include "crc32.h"

#include "../base/atomics.h"
#include "../base/bytes.h"

namespace {

// Table i contains the CRC of a byte followed by i zero bytes, so the 16 bytes of an untagged
// frame's key need no chain of 16 dependent look-ups. Each takes a kilobyte; on CPUs with CRC
// instructions half of them are enough.
#if defined(__aarch64__)
constexpr size_t SLICES = 8;
#else
constexpr size_t SLICES = 16;
#endif
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

// Joins two parts that are computed side by side. Without the barrier the compiler makes one long
// chain of exclusive ors out of them.
u32 xor_parts(u32 first, u32 second)
{
    asm("" : "+r"(second));
    return first ^ second;
}

u32 crc_of_8(size_t slice, const u8* bytes, u32 crc)
{
    return xor_parts(crc_of_word(slice + 4, gpon::load_unaligned<u32>(bytes) ^ crc),
                     crc_of_word(slice, gpon::load_unaligned<u32>(bytes + 4)));
}

u32 crc32_by_tables(const u8* bytes, u32 count)
{
    u32 crc = 0;
    if constexpr (SLICES == 16)
        for (; count >= 16; bytes += 16, count -= 16)
            crc = xor_parts(crc_of_8(8, bytes, crc), crc_of_8(0, bytes + 8, 0));
    for (; count >= 8; bytes += 8, count -= 8)
        crc = crc_of_8(0, bytes, crc);
    if (count >= 4) {
        crc = crc_of_word(0, gpon::load_unaligned<u32>(bytes) ^ crc);
        bytes += 4;
        count -= 4;
    }
    for (; count; ++bytes, --count)
        crc = CRC.of[0][(crc ^ *bytes) & 0xFF] ^ (crc >> 8);
    return crc;
}

// Computed on every CPU type, so that the module's data is always the same.
GPON_MODULE_DATA constinit bool cpu_has_crc32 = false;

#if defined(__aarch64__)

// The instructions compute the same polynomial, reflected, without inversion.
u32 crc32_by_cpu(const u8* bytes, u32 count)
{
    u32 crc = 0;
    for (; count >= 8; bytes += 8, count -= 8)
        asm(".arch_extension crc\n\tcrc32x %w0, %w0, %x1"
            : "+r"(crc)
            : "r"(gpon::load_unaligned<u64>(bytes)));
    for (; count >= 4; bytes += 4, count -= 4)
        asm(".arch_extension crc\n\tcrc32w %w0, %w0, %w1"
            : "+r"(crc)
            : "r"(gpon::load_unaligned<u32>(bytes)));
    for (; count; ++bytes, --count)
        asm(".arch_extension crc\n\tcrc32b %w0, %w0, %w1" : "+r"(crc) : "r"(u32{*bytes}));
    return crc;
}

u32 crc32_of(const u8* bytes, u32 count)
{
    return cpu_has_crc32 ? crc32_by_cpu(bytes, count) : crc32_by_tables(bytes, count);
}

#else

u32 crc32_of(const u8* bytes, u32 count)
{
    return crc32_by_tables(bytes, count);
}

#endif

// A CRC is linear; the mix spreads each of its bits over the low bits, which select the bucket.
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

void gpon::choose_crc32()
{
    bool found = false;
#if defined(__aarch64__)
    // Field CRC32 of the instruction set attributes; all CPUs of an ONU are of the same type.
    u64 features = 0;
    asm("mrs %0, id_aa64isar0_el1" : "=r"(features));
    found = ((features >> 16) & 0xF) != 0;
#endif
    store_relaxed(cpu_has_crc32, found);
}

u32 gpon_hash_calc_key(const u8* key, u16 key_len)
{
    const u32 crc = key ? crc32_of(key, key_len) : 0;
    return (mix(crc) >> 3) * 0x9E3779B1u;
}
