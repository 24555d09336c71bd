// SPDX-License-Identifier: GPL-2.0-only
// The expected results are those of the kernel's vsnprintf; cases where libc differs are marked.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>

#include "platform/host/format.h"

#include "platform/api/kernel_api.h"

namespace {

// No format attribute: some of these texts are wrong on purpose.
std::string text_of(const char* text, ...)
{
    va_list arguments;
    va_start(arguments, text);
    std::string result = gpon::host::format(text, arguments);
    va_end(arguments);
    return result;
}

TEST(kernel_format, prints_plain_text_and_percent_signs)
{
    EXPECT_EQ(text_of(""), "");
    EXPECT_EQ(text_of("no conversion"), "no conversion");
    EXPECT_EQ(text_of("100%%, %%d"), "100%, %d");
}

TEST(kernel_format, prints_decimal_numbers)
{
    EXPECT_EQ(text_of("%d %i %u", -5, 6, 7u), "-5 6 7");
    EXPECT_EQ(text_of("%d", INT_MIN), "-2147483648");
    EXPECT_EQ(text_of("%u", UINT_MAX), "4294967295");
    EXPECT_EQ(text_of("%u", static_cast<unsigned>(-1)), "4294967295");
    EXPECT_EQ(text_of("%+d %+d % d % d", 5, -5, 5, -5), "+5 -5  5 -5");
    EXPECT_EQ(text_of("%+u", 5u), "5");
}

TEST(kernel_format, pads_decimal_numbers_to_a_width)
{
    EXPECT_EQ(text_of("[%5d]", 42), "[   42]");
    EXPECT_EQ(text_of("[%5d]", -42), "[  -42]");
    EXPECT_EQ(text_of("[%-5d]", -42), "[-42  ]");
    EXPECT_EQ(text_of("[%05d]", -42), "[-0042]");
    EXPECT_EQ(text_of("[%-05d]", 42), "[42   ]");
    EXPECT_EQ(text_of("[%2d]", 12345), "[12345]");
    EXPECT_EQ(text_of("[%6d]", 0), "[     0]");
    EXPECT_EQ(text_of("[%+5d]", 42), "[  +42]");
    EXPECT_EQ(text_of("[%+05d]", 42), "[+0042]");
}

TEST(kernel_format, prints_hexadecimal_numbers)
{
    EXPECT_EQ(text_of("%x %X", 0xbeefu, 0xbeefu), "beef BEEF");
    EXPECT_EQ(text_of("%02x:%02x:%02x", 0u, 0xau, 0xffu), "00:0a:ff");
    EXPECT_EQ(text_of("%04x", 0x8100u), "8100");
    EXPECT_EQ(text_of("%x", static_cast<unsigned>(-1)), "ffffffff");
}

TEST(kernel_format, alternate_form_prefixes_zero_as_well)
{
    EXPECT_EQ(text_of("%#x", 0x1fu), "0x1f");
    EXPECT_EQ(text_of("%#X", 0x1fu), "0X1F");
    EXPECT_EQ(text_of("%#x", 0u), "0x0"); // libc: 0
    EXPECT_EQ(text_of("[%#8x]", 0x1fu), "[    0x1f]");
    EXPECT_EQ(text_of("[%-#8x]", 0x1fu), "[0x1f    ]");
    EXPECT_EQ(text_of("[%#08x]", 0x1fu), "[0x00001f]");
    EXPECT_EQ(text_of("%#d", 7), "7");
    EXPECT_EQ(text_of("%o %#o %#o", 8u, 8u, 0u), "10 010 0");
}

TEST(kernel_format, applies_a_precision_to_numbers)
{
    EXPECT_EQ(text_of("[%#10.4x]", 0u), "[    0x0000]"); // libc: no prefix
    EXPECT_EQ(text_of("[%#10.4x]", 0x12u), "[    0x0012]");
    EXPECT_EQ(text_of("[%8.04x]", 0x8100u), "[    8100]");
    EXPECT_EQ(text_of("[%8.04x]", 0x1u), "[    0001]");
    EXPECT_EQ(text_of("[%7.04x]", 0xfffu), "[   0fff]");
    EXPECT_EQ(text_of("[ %.4x]", 0xau), "[ 000a]");
    EXPECT_EQ(text_of("[%.2x]", 0x12345u), "[12345]");
    EXPECT_EQ(text_of("[%-8.4x]", 0x1u), "[0001    ]");
    EXPECT_EQ(text_of("[%6.3d]", -7), "[  -007]");
    EXPECT_EQ(text_of("[%08.4x]", 0x12u), "[00000012]"); // libc: blanks
    EXPECT_EQ(text_of("[%.0d] [%.d]", 0, 0), "[0] [0]"); // libc: empty
}

TEST(kernel_format, takes_width_and_precision_from_arguments)
{
    EXPECT_EQ(text_of("[%*d]", 5, 42), "[   42]");
    EXPECT_EQ(text_of("[%*d]", -5, 42), "[42   ]");
    EXPECT_EQ(text_of("[%0*x]", 4, 0xau), "[000a]");
    EXPECT_EQ(text_of("[%.*x]", 4, 0xau), "[000a]");
    EXPECT_EQ(text_of("[%*.*x]", 6, 4, 0xau), "[  000a]");
    EXPECT_EQ(text_of("[%-*s]", 6, "abc"), "[abc   ]");
    EXPECT_EQ(text_of("[%.*s]", 2, "abc"), "[ab]");
    EXPECT_EQ(text_of("[%.*s]", -1, "abc"), "[]"); // libc: abc
}

TEST(kernel_format, prints_every_length)
{
    EXPECT_EQ(text_of("%hhx %hhu %hhd", 0x1ff, 0x1ff, 0x1ff), "ff 255 -1");
    EXPECT_EQ(text_of("%hx %hd", 0x1ffff, 0x1ffff), "ffff -1");
    EXPECT_EQ(text_of("%lu %ld", ULONG_MAX, LONG_MIN), "18446744073709551615 -9223372036854775808");
    EXPECT_EQ(text_of("%llx %lli", 0x123456789abcdefULL, -1LL), "123456789abcdef -1");
    EXPECT_EQ(text_of("%zu %zd", SIZE_MAX, static_cast<ptrdiff_t>(-2)), "18446744073709551615 -2");
    EXPECT_EQ(text_of("%lo", ULONG_MAX), "1777777777777777777777");
}

TEST(kernel_format, prints_strings)
{
    EXPECT_EQ(text_of("[%s]", "abc"), "[abc]");
    EXPECT_EQ(text_of("[%17s]", "DstMac(Hex)"), "[      DstMac(Hex)]");
    EXPECT_EQ(text_of("[%-6s]", "abc"), "[abc   ]");
    EXPECT_EQ(text_of("[%06s]", "abc"), "[   abc]");
    EXPECT_EQ(text_of("[%2s]", "abcdef"), "[abcdef]");
    EXPECT_EQ(text_of("[%.3s]", "abcdef"), "[abc]");
    EXPECT_EQ(text_of("[%5.2s]", "abcdef"), "[   ab]");
    EXPECT_EQ(text_of("[%.s]", "abc"), "[abc]"); // libc: empty
    EXPECT_EQ(text_of("[%s]", static_cast<const char*>(nullptr)), "[(null)]");
    EXPECT_EQ(text_of("[%8s]", static_cast<const char*>(nullptr)), "[  (null)]");
}

TEST(kernel_format, a_precision_bounds_the_read_of_an_unterminated_string)
{
    const std::string unterminated(3, 'x');
    const std::vector<char> exact(unterminated.begin(), unterminated.end());
    EXPECT_EQ(text_of("%.3s", exact.data()), "xxx");
}

TEST(kernel_format, prints_characters)
{
    EXPECT_EQ(text_of("[%c]", 'A'), "[A]");
    EXPECT_EQ(text_of("[%3c]", 'A'), "[  A]");
    EXPECT_EQ(text_of("[%-3c]", 'A'), "[A  ]");
    EXPECT_EQ(text_of("%c", 0), std::string(1, '\0'));
}

TEST(kernel_format, prints_pointers)
{
    EXPECT_EQ(text_of("%p", reinterpret_cast<void*>(0xabcd)), "000000000000abcd");
    EXPECT_EQ(text_of("[%20p]", reinterpret_cast<void*>(0xabcd)), "[                abcd]");
}

TEST(kernel_format, an_unknown_conversion_ends_the_text)
{
    EXPECT_EQ(text_of("a %d %y b", 1), "a 1 ");
    EXPECT_EQ(text_of("a %n b"), "a ");
    EXPECT_EQ(text_of("a %"), "a ");
    EXPECT_EQ(text_of("a %5"), "a ");
}

TEST(kernel_format, prints_texts_of_any_length)
{
    const std::string text(5000, 'x');
    EXPECT_EQ(text_of("%s", text.c_str()), text);
    EXPECT_EQ(text_of("%*s", 5000, "x"), std::string(4999, ' ') + "x");
}

// Through a pointer: the compiler takes the name for libc's function and knows better.
int (*const volatile kernel_snprintf)(char*, size_t, const char*, ...) = snprintf;

TEST(kernel_snprintf, returns_the_uncut_length_and_terminates)
{
    char buffer[6];
    std::memset(buffer, '#', sizeof(buffer));
    EXPECT_EQ(kernel_snprintf(buffer, sizeof(buffer), "%s", "abcdefgh"), 8);
    EXPECT_STREQ(buffer, "abcde");
    EXPECT_EQ(kernel_snprintf(buffer, sizeof(buffer), "%s", "abcde"), 5);
    EXPECT_STREQ(buffer, "abcde");
    EXPECT_EQ(kernel_snprintf(buffer, sizeof(buffer), "%d", 7), 1);
    EXPECT_STREQ(buffer, "7");
}

TEST(kernel_snprintf, writes_nothing_beyond_the_room)
{
    char buffer[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(kernel_snprintf(buffer, 0, "%s", "abc"), 3);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(kernel_snprintf(nullptr, 0, "%s", "abc"), 3);
    EXPECT_EQ(kernel_snprintf(buffer, 1, "%s", "abc"), 3);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(buffer[1], '#');
    EXPECT_EQ(kernel_snprintf(buffer, 3, "%s", "abc"), 3);
    EXPECT_STREQ(buffer, "ab");
    EXPECT_EQ(buffer[3], '#');
}

TEST(kernel_snprintf, refuses_a_negative_size)
{
    char buffer[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(kernel_snprintf(buffer, static_cast<size_t>(-1), "%s", "abc"), 0);
    EXPECT_EQ(buffer[0], '#');
}

} // namespace
