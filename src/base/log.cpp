// SPDX-License-Identifier: GPL-2.0-only
#include "log.h"

namespace {

const char* level_tag(u32 level_word)
{
    if (level_word & LOG_ERROR)
        return "***ERROR***";
    return level_word & LOG_WARNING ? "**WARNING**" : "***TRACE***";
}

} // namespace

void gpon::gpon_log(u32 level_word, const char* text, ...)
{
    printk("%s", level_tag(level_word));
    va_list args;
    va_start(args, text);
    vpr_cont(text, args);
    va_end(args);
}
