/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The kernel's text formatting. It differs from libc: %#x adds 0x to 0 too, zero padding applies
 * even with a precision, a precision of 0 still prints a 0, and %.s prints the whole string.
 */
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>

namespace gpon::host {

/* Writes at most room - 1 characters and, if room is not 0, a terminator; returns the length of the
 * whole text. Flags # 0 - + blank, width, precision, *, lengths hh h l ll z, conversions
 * s d i u o x X c p %. Any other conversion ends the text, as in a kernel. A pointer is printed
 * unhashed: 16 hexadecimal digits. */
[[gnu::format(printf, 3, 0)]] size_t format_to(char* out, size_t room, const char* text,
                                               va_list arguments);

/* The same as a string of any length. */
[[nodiscard, gnu::format(printf, 1, 0)]] std::string format(const char* text, va_list arguments);

} // namespace gpon::host
