// SPDX-License-Identifier: GPL-2.0-only
#include <atomic>
#include <climits>
#include <cstdarg>
#include <cstring>
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

std::atomic<log_filter> filter = nullptr;

// The tag of a message is a print of its own. It waits until the text shows whether it is wanted.
thread_local const char* held_tag = nullptr;

// The first argument if it is a text.
[[gnu::format(printf, 1, 0)]] const char* first_text(const char* text, va_list arguments)
{
    const char* conversion = std::strchr(text, '%');
    if (!conversion || conversion[1] != 's')
        return "";
    va_list copy;
    va_copy(copy, arguments);
    const char* first = va_arg(copy, const char*);
    va_end(copy);
    return first;
}

[[gnu::format(printf, 2, 0)]] bool is_left_out(log_filter wanted, const char* text,
                                               va_list arguments)
{
    const char* first = first_text(text, arguments);
    if (std::strcmp(text, "%s") == 0 && first[0] == '*') {
        held_tag = first;
        return true;
    }
    const char* tag = std::exchange(held_tag, nullptr);
    if (!tag)
        return false;
    if (!wanted(tag, first))
        return true;
    record(event::log, tag);
    return false;
}

[[gnu::format(printf, 1, 0)]] int print(const char* text, va_list arguments)
{
    const log_filter wanted = filter.load(std::memory_order_relaxed);
    if (wanted && is_left_out(wanted, text, arguments))
        return 0;
    std::string line = format(text, arguments);
    drop_level_prefixes(line);
    const int length = static_cast<int>(line.size());
    record(event::log, std::move(line));
    return length;
}

} // namespace

void set_log_filter(log_filter wanted)
{
    filter.store(wanted, std::memory_order_relaxed);
}

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
