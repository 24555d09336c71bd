/* SPDX-License-Identifier: GPL-2.0-only */
/* Words and numbers of debug commands, parsed like the kernel's scan functions. */
#ifndef GPON_DEBUG_WORDS_H
#define GPON_DEBUG_WORDS_H

#include <array>

#include "../base/optional.h"
#include "../base/types.h"

/* Words of one command: at most four, each with at most 31 characters; absent ones are null. One
 * more entry is always null, so a handler can read the word after the last. */
constexpr u32 GPON_DBG_WORDS = 4;
constexpr size_t GPON_DBG_WORD_BYTES = 32;

struct gpon_dbg_words {
    char text[GPON_DBG_WORDS][GPON_DBG_WORD_BYTES];
    const char* argv[GPON_DBG_WORDS + 1];
};

namespace gpon {

/* Splits a terminated line at blanks into at most four words, each cut to 31 characters. Returns
 * their number, or -1 for a line without words, like the kernel's scan. */
[[nodiscard]] i32 split_words(const char* text, gpon_dbg_words& words);

/* A number at the start of a word: "%x" takes an optional 0x, "%d" an optional minus sign; reading
 * stops at the first character that does not fit, values are modulo 2^32. None for a null word and
 * for one without a digit. */
[[nodiscard]] optional<u32> scan_hex(const char* word);
[[nodiscard]] optional<i32> scan_decimal(const char* word);

/* "%02x:%02x:%02x:%02x:%02x:%02x": reads as many of the six values as the word contains, the
 * others are 0. */
[[nodiscard]] std::array<u32, 6> scan_mac(const char* word);

} // namespace gpon

#endif
