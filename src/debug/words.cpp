// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "words.h"

namespace {

constexpr i32 NO_LIMIT = 0x7fffffff;

// The kernel treats the no-break space of Latin-1 as a blank.
bool is_blank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r') || static_cast<u8>(c) == 0xa0;
}

const char* skip_blanks(const char* text)
{
    while (is_blank(*text))
        ++text;
    return text;
}

// Value of a hexadecimal digit, or 16.
u32 digit_of(char c)
{
    if (c >= '0' && c <= '9')
        return static_cast<u32>(c - '0');
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? static_cast<u32>(lower - 'a' + 10) : 16;
}

bool has_prefix(const char* text)
{
    return text[0] == '0' && (text[1] | 0x20) == 'x';
}

u32 digits(const char*& text, u32 base, i32 limit)
{
    u32 value = 0;
    for (; limit > 0 && digit_of(*text) < base; ++text, --limit)
        value = value * base + digit_of(*text);
    return value;
}

// One hexadecimal conversion of at most limit characters, including the prefix.
gpon::optional<u32> hex(const char*& text, i32 limit)
{
    text = skip_blanks(text);
    if (digit_of(*text) >= 16)
        return {};
    if (has_prefix(text) && limit >= 2) {
        text += 2;
        limit -= 2;
    }
    return digits(text, 16, limit);
}

} // namespace

i32 gpon::split_words(const char* text, gpon_dbg_words& words)
{
    u32 count = 0;
    for (text = skip_blanks(text); *text != '\0' && count < GPON_DBG_WORDS;
         text = skip_blanks(text)) {
        char* word = words.text[count];
        size_t length = 0;
        for (; *text != '\0' && !is_blank(*text); ++text)
            if (length < GPON_DBG_WORD_BYTES - 1)
                word[length++] = *text;
        word[length] = '\0';
        words.argv[count++] = word;
    }
    return count == 0 ? -1 : static_cast<i32>(count);
}

gpon::optional<u32> gpon::scan_hex(const char* word)
{
    if (!word)
        return {};
    return hex(word, NO_LIMIT);
}

gpon::optional<i32> gpon::scan_decimal(const char* word)
{
    if (!word)
        return {};
    word = skip_blanks(word);
    const bool negative = *word == '-';
    word += negative;
    if (digit_of(*word) >= 10)
        return {};
    const u32 magnitude = digits(word, 10, NO_LIMIT);
    return static_cast<i32>(negative ? 0u - magnitude : magnitude);
}

std::array<u32, 6> gpon::scan_mac(const char* word)
{
    std::array<u32, 6> parts = {};
    for (u32 i = 0; word && i < parts.size(); ++i) {
        if (i != 0 && *word++ != ':')
            break;
        const optional<u32> part = hex(word, 2);
        if (!part)
            break;
        parts[i] = *part;
    }
    return parts;
}
