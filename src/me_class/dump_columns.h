/* SPDX-License-Identifier: GPL-2.0-only */
/* Cells of a class's row in the instance dump. */
#ifndef GPON_ME_CLASS_FIELDS_H
#define GPON_ME_CLASS_FIELDS_H

#include "../base/bytes.h"
#include "../include/me_class.h"

namespace gpon {

/* Precisions of hexadecimal cells. */
constexpr i32 X2 = 2, X4 = 4, X8 = 8;

/* Writes the columns of one instance from left to right, each with its title above its value. A
 * column that starts beyond the buffers is left out, one that crosses their end is cut. */
class field_row {
public:
    field_row(char* values, char* header, i32 length)
        : values_(values), header_(header), length_(length)
    {
    }

    field_row& hex(const char* title, i32 width, i32 precision, u32 value);
    field_row& dec(const char* title, i32 width, u32 value);

    /* Length of the titles as written. */
    i32 end() const { return text_length(header_); }

private:
    size_t room() const { return static_cast<size_t>(length_ - 1 - at_); }
    bool title(const char* text, i32 width);

    char* values_;
    char* header_;
    i32 length_;
    i32 at_ = 0;
};

/* Writes array attributes into the extra text, an attribute a line. */
class field_list {
public:
    field_list(char* text, i32 length) : text_(text), length_(length) {}

    void name(const char* attribute);
    void hex(i32 precision, i32 advance, u32 value);
    void dec(i32 width, i32 advance, u32 value);
    void end_line();

private:
    template <typename... Args> void put(i32 advance, const char* format, Args... args);

    char* text_;
    i32 length_;
    i32 at_ = 0;
};

/* The printer of a class whose only attribute is its id. */
i32 dump_id_only(const void* raw, char* values, char* header, char* extra, i32 length);

} // namespace gpon

#endif
