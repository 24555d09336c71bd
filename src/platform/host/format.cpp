// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/format.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "platform/host/conversion.h"

namespace gpon::host {
namespace {

class writer {
public:
    writer(char* out, size_t room) : out_(out), room_(room) {}

    void put(char c)
    {
        if (length_ < room_)
            out_[length_] = c;
        ++length_;
    }
    void pad(char c, int count)
    {
        for (; count > 0; --count)
            put(c);
    }
    size_t finish()
    {
        if (room_)
            out_[std::min(length_, room_ - 1)] = '\0';
        return length_;
    }

private:
    char* out_;
    size_t room_;
    size_t length_ = 0;
};

struct digits {
    char reversed[24]; // enough for 64 bits in octal
    int count = 0;

    digits(uint64_t value, unsigned base, bool upper)
    {
        const char* const alphabet = upper ? "0123456789ABCDEF" : "0123456789abcdef";
        do
            reversed[count++] = alphabet[value % base];
        while (value /= base);
    }
};

// sign is 0 for none. The order of the paddings is that of the kernel.
void put_number(writer& out, const conversion& spec, uint64_t value, unsigned base, char sign)
{
    const digits text(value, base, spec.kind == 'X');
    const bool hex_prefix = spec.special && base == 16;
    const bool octal_prefix = spec.special && base == 8 && value != 0;
    const int precision = std::max(spec.precision, text.count);
    const int around = (sign ? 1 : 0) + (hex_prefix ? 2 : 0) + (octal_prefix ? 1 : 0);
    const int padding = spec.width - around - precision;

    if (!spec.zero_pad && !spec.left)
        out.pad(' ', padding);
    if (sign)
        out.put(sign);
    if (hex_prefix || octal_prefix)
        out.put('0');
    if (hex_prefix)
        out.put(spec.kind == 'X' ? 'X' : 'x');
    if (spec.zero_pad && !spec.left)
        out.pad('0', padding);
    out.pad('0', precision - text.count);
    for (int i = text.count; i > 0; --i)
        out.put(text.reversed[i - 1]);
    if (spec.left)
        out.pad(' ', padding);
}

void put_signed(writer& out, const conversion& spec, argument_list& arguments)
{
    const uint64_t value = signed_argument(spec.size, arguments);
    const bool negative = static_cast<int64_t>(value) < 0;
    const char positive_sign = spec.plus ? '+' : spec.blank ? ' ' : '\0';
    put_number(out, spec, negative ? 0 - value : value, 10, negative ? '-' : positive_sign);
}

void put_text(writer& out, const conversion& spec, const char* text, size_t count)
{
    const int padding = spec.width - static_cast<int>(std::min<size_t>(count, width_max));
    if (!spec.left)
        out.pad(' ', padding);
    for (size_t i = 0; i < count; ++i)
        out.put(text[i]);
    if (spec.left)
        out.pad(' ', padding);
}

void put_string(writer& out, const conversion& spec, argument_list& arguments)
{
    const char* text = va_arg(arguments.values, const char*);
    if (!text)
        text = "(null)";
    put_text(out, spec, text,
             spec.precision < 0 ? std::strlen(text)
                                : strnlen(text, static_cast<size_t>(spec.precision)));
}

void put_pointer(writer& out, conversion spec, argument_list& arguments)
{
    const auto value = reinterpret_cast<uintptr_t>(va_arg(arguments.values, void*));
    if (spec.width < 0) {
        spec.width = 2 * sizeof(void*) + (spec.special ? 2 : 0);
        spec.zero_pad = true;
    }
    put_number(out, spec, value, 16, '\0');
}

// Returns false for a conversion that the kernel does not have.
bool put_conversion(writer& out, const conversion& spec, argument_list& arguments)
{
    switch (spec.kind) {
    case '%':
        out.put('%');
        return true;
    case 'c': {
        const char c = static_cast<char>(va_arg(arguments.values, int));
        put_text(out, spec, &c, 1);
        return true;
    }
    case 's':
        put_string(out, spec, arguments);
        return true;
    case 'p':
        put_pointer(out, spec, arguments);
        return true;
    case 'd':
    case 'i':
        put_signed(out, spec, arguments);
        return true;
    case 'u':
        put_number(out, spec, unsigned_argument(spec.size, arguments), 10, '\0');
        return true;
    case 'o':
        put_number(out, spec, unsigned_argument(spec.size, arguments), 8, '\0');
        return true;
    case 'x':
    case 'X':
        put_number(out, spec, unsigned_argument(spec.size, arguments), 16, '\0');
        return true;
    default:
        return false;
    }
}

} // namespace

size_t format_to(char* out, size_t room, const char* text, va_list values)
{
    argument_list arguments(values);
    writer result(out, room);
    for (; *text; ++text) {
        if (*text != '%') {
            result.put(*text);
            continue;
        }
        ++text;
        if (!put_conversion(result, read_conversion(text, arguments), arguments))
            break;
    }
    return result.finish();
}

std::string format(const char* text, va_list arguments)
{
    char shorter[256];
    const size_t length = format_to(shorter, sizeof(shorter), text, arguments);
    if (length < sizeof(shorter))
        return std::string(shorter, length);
    std::string longer(length + 1, '\0');
    format_to(longer.data(), longer.size(), text, arguments);
    longer.resize(length);
    return longer;
}

} // namespace gpon::host
