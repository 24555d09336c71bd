// SPDX-License-Identifier: GPL-2.0-only
#include "dump_columns.h"

namespace gpon {

namespace {
constexpr i32 SEPARATOR = 3;
}

bool field_row::title(const char* text, i32 width)
{
    if (length_ <= at_)
        return false;
    snprintf(header_ + at_, room(), "%*s | ", width, text);
    return true;
}

field_row& field_row::hex(const char* text, i32 width, i32 precision, u32 value)
{
    if (title(text, width))
        snprintf(values_ + at_, room(), "%#*.*x | ", width, precision, value);
    at_ += width + SEPARATOR;
    return *this;
}

field_row& field_row::dec(const char* text, i32 width, u32 value)
{
    if (title(text, width))
        snprintf(values_ + at_, room(), "%*d | ", width, static_cast<i32>(value));
    at_ += width + SEPARATOR;
    return *this;
}

template <typename... Args> void field_list::put(i32 advance, const char* format, Args... args)
{
    if (at_ < length_)
        snprintf(text_ + at_, static_cast<size_t>(length_ - 1 - at_), format, args...);
    at_ += advance;
}

void field_list::name(const char* attribute)
{
    put(text_length(attribute) + SEPARATOR, "%s = ", attribute);
}

void field_list::hex(i32 precision, i32 advance, u32 value)
{
    put(advance, "%#.*x ", precision, value);
}

void field_list::dec(i32 width, i32 advance, u32 value)
{
    put(advance, "%*d ", width, static_cast<i32>(value));
}

void field_list::end_line()
{
    put(1, "%s", "\n");
}

i32 dump_id_only(const void* raw, char* values, char* header, char* extra, i32 length)
{
    if (!raw || !values || !header || !extra)
        return 0;
    return field_row(values, header, length).hex("instID", 10, X4, load_unaligned<u16>(raw)).end();
}

} // namespace gpon
