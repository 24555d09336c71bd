// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/context.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "platform/host/format.h"

namespace gpon::host {

void fatal(const char* text, ...)
{
    char words[1024];
    va_list arguments;
    va_start(arguments, text);
    format_to(words, sizeof(words), text, arguments);
    va_end(arguments);
    std::fprintf(stderr, "gpon host platform: %s\n", words);
    std::abort();
}

void assert_may_sleep(const char* service)
{
    if (this_thread.softirq)
        fatal("%s called in softirq context", service);
    if (this_thread.spinlock)
        fatal("%s called under a spinlock", service);
    if (in_read_section())
        fatal("%s called in an RCU read section", service);
}

} // namespace gpon::host
