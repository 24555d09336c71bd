// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/context.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace gpon::host {

void fatal(const char* text, ...)
{
    va_list arguments;
    va_start(arguments, text);
    std::fputs("gpon host platform: ", stderr);
    std::vfprintf(stderr, text, arguments);
    std::fputc('\n', stderr);
    va_end(arguments);
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
