// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "dump_columns.h"

#include "../me/dump.h"

namespace {

constexpr i32 SEPARATOR = 3;
constexpr i32 DIGITS_OF_U16 = 5;

i32 hex_digits(const gpon_me_field& field)
{
    return 2 * field.width;
}

// The columns of one instance.
struct row_text {
    char* values;
    char* header;
    i32 length;
    i32 at = 0;

    size_t room() const { return static_cast<size_t>(length - 1 - at); }

    void put(const gpon_me_field& field, u32 value)
    {
        const i32 width = gpon::column_width(field.name);
        if (at < length) {
            snprintf(header + at, room(), "%*s | ", width, field.name);
            if (field.notation == gpon_notation::hex)
                snprintf(values + at, room(), "%#*.*x | ", width, hex_digits(field), value);
            else
                snprintf(values + at, room(), "%*d | ", width, static_cast<i32>(value));
        }
        at += width + SEPARATOR;
    }
};

// Text that is filled from left to right.
struct list_text {
    char* text;
    i32 length;
    i32 at = 0;

    template <typename... Args> void put(i32 advance, const char* format, Args... args)
    {
        if (at < length)
            snprintf(text + at, static_cast<size_t>(length - 1 - at), format, args...);
        at += advance;
    }

    void put(const gpon_me_field& field, const void* raw)
    {
        put(gpon::text_length(field.name) + SEPARATOR, "%s = ", field.name);
        for (u32 i = 0; i < field.count; ++i) {
            const u32 value = gpon::field_value(field, raw, i);
            if (field.notation == gpon_notation::hex)
                put(hex_digits(field) + SEPARATOR, "%#.*x ", hex_digits(field), value);
            else
                put(DIGITS_OF_U16 + 1, "%*d ", DIGITS_OF_U16, static_cast<i32>(value));
        }
        put(1, "%s", "\n");
    }
};

} // namespace

i32 gpon::dump_fields(const gpon_me_list_info& info, const void* raw, char* values, char* header,
                      char* extra, i32 length)
{
    if (!raw || !values || !header || !extra)
        return 0;
    row_text row{values, header, length};
    list_text lists{extra, length};
    for (const gpon_me_field& field : info.fields)
        if (field.count > 1)
            lists.put(field, raw);
        else
            row.put(field, field_value(field, raw));
    return text_length(header);
}
