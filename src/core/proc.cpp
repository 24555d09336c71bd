// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "proc.h"

#include "../base/counters.h"
#include "../base/log.h"
#include "../base/memory.h"
#include "../debug/interpreter.h"
#include "../debug/words.h"
#include "command_events.h"

namespace {

constexpr unsigned long COMMAND_BUFFER = 132;
constexpr long TOO_LONG = -22;   // -EINVAL
constexpr long UNREADABLE = -14; // -EFAULT

const char* switch_name()
{
    return gpon::load_relaxed(gponFlowEnableFlag) ? "ENABLE" : "DISABLE";
}

} // namespace

long gpon_flow_proc_write(file*, const char* user_text, unsigned long count)
{
    char command[COMMAND_BUFFER] = {};
    if (count >= COMMAND_BUFFER)
        return gpon::refuse_command(TOO_LONG);
    if (copy_from_user(command, user_text, count) != 0)
        return gpon::refuse_command(UNREADABLE);
    gpon::count(GPON_COUNT_operator_commands);
    gpon_dbg_words words = {};
    const i32 found = gpon::split_words(command, words);
    const gpon::control_guard control;
    printk("CURRENT GPON FLOW SWITCH %s\n", switch_name());
    gpon_dbg_parsing_cmd(static_cast<u32>(found), words.argv);
    gpon::trace_words(GPON_COMMAND_OPERATOR, words, static_cast<long>(count));
    return static_cast<long>(count);
}

int gpon_flow_proc_read(void)
{
    printk("GPON FLOW SWITCH %s\n", switch_name());
    return 0;
}
