// SPDX-License-Identifier: GPL-2.0-only
#include "log.h"

namespace {

const char* level_tag(u32 level_word)
{
    if (level_word & LOG_ERROR)
        return "***ERROR***";
    return level_word & LOG_WARNING ? "**WARNING**" : "***TRACE***";
}

// The start of a message, which the text continues.
[[gnu::noinline]] void print_tag(u32 level_word)
{
    printk("%s", level_tag(level_word));
}

} // namespace

void gpon::gpon_log(u32 level_word, const char* text, ...)
{
    print_tag(level_word);
    va_list args;
    va_start(args, text);
    vpr_cont(text, args);
    va_end(args);
}

void gpon::gpon_log_packet(const sk_buff* skb, log_level level, const char* text, ...)
{
    print_tag(flag_word_of(skb) | level);
    va_list args;
    va_start(args, text);
    vpr_cont(text, args);
    va_end(args);
}
