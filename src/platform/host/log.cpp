// SPDX-License-Identifier: GPL-2.0-only
#include <climits>
#include <cstdarg>
#include <utility>

#include "platform/host/context.h"
#include "platform/host/events.h"
#include "platform/host/format.h"
#include "platform/host/state.h"

#include "platform/api/kernel_api.h"

namespace gpon::host {
namespace {

// Level prefixes (\001 and a character) are for the kernel's log and not part of the text.
void drop_level_prefixes(std::string& text)
{
    size_t skipped = 0;
    while (text.size() - skipped >= 2 && text[skipped] == '\001' &&
           ((text[skipped + 1] >= '0' && text[skipped + 1] <= '7') || text[skipped + 1] == 'c'))
        skipped += 2;
    text.erase(0, skipped);
}

[[gnu::format(printf, 1, 0)]] int print(const char* text, va_list arguments)
{
    std::string line = format(text, arguments);
    drop_level_prefixes(line);
    const int length = static_cast<int>(line.size());
    record(event::log, std::move(line));
    return length;
}

} // namespace

} // namespace gpon::host

using namespace gpon::host;

int printk(const char* text, ...)
{
    if (!recording())
        return 0;
    va_list arguments;
    va_start(arguments, text);
    const int length = print(text, arguments);
    va_end(arguments);
    return length;
}

int vpr_cont(const char* text, va_list arguments)
{
    return recording() ? print(text, arguments) : 0;
}

int pr_cont(const char* text, ...)
{
    va_list arguments;
    va_start(arguments, text);
    const int length = vpr_cont(text, arguments);
    va_end(arguments);
    return length;
}

// Defined under its symbol name: <cstdio> declares libc's snprintf before the platform interface
// can give it another symbol, and clang keeps the first declaration.
extern "C" [[gnu::format(printf, 3, 4)]] int
seam_snprintf(char* buffer, size_t bytes, const char* text, ...) __asm__("gpon_os_snprintf");

int seam_snprintf(char* buffer, size_t bytes, const char* text, ...)
{
    // A negative size that was converted to size_t; a kernel warns and writes nothing.
    if (bytes > INT_MAX)
        return 0;
    va_list arguments;
    va_start(arguments, text);
    const size_t length = format_to(buffer, bytes, text, arguments);
    va_end(arguments);
    return static_cast<int>(length);
}

void dump_stack()
{
    record_call("dump_stack");
}

void panic(const char* text, ...)
{
    // Not a std::string: abandon_load does not return, so no destructor runs.
    char words[1024];
    va_list arguments;
    va_start(arguments, text);
    format_to(words, sizeof(words), text, arguments);
    va_end(arguments);
    record_call("panic %s", words);
    abandon_load();
    fatal("panic outside of module loading: %s", words);
}
