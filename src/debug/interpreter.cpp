// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "interpreter.h"

#include "../base/log.h"
#include "set_commands.h"
#include "store_commands.h"

namespace {

// True if the name begins with the word; every name begins with an empty word.
bool begins_with(const char* name, const char* word)
{
    for (; *word != '\0'; ++name, ++word)
        if (*name != *word)
            return false;
    return true;
}

// The handler of a row for another table.
template <const gpon_dbg_cmd* Table>
u32 descend(u32 argc, const char* const* argv, const gpon_dbg_cmd*)
{
    return gpon_dbg_dispatch(Table, argc, argv, Table);
}

constexpr char HELP[] = "Show gpon flow module debug usage.";

} // namespace

// Words match by prefix and the first row wins, so the order of rows is part of the language.

constinit const gpon_dbg_cmd gpon_dbg_trace_table[] = {
    {"dst_mac", gpon_dbg_set_dst_mac, 1, "Set trace dst mac, xx:xx:xx:xx:xx:xx"},
    {"src_mac", gpon_dbg_set_src_mac, 1, "Set trace src mac, xx:xx:xx:xx:xx:xx"},
    {"outer_vlan", gpon_dbg_set_outer_vlan, 1, "Set trace outer vlan"},
    {"inner_vlan", gpon_dbg_set_inner_vlan, 1, "Set trace inner vlan"},
    {"disable", gpon_dbg_disable_trace, 0, "Set trace disable, clear trace info"},
    {"help", gpon_dbg_usage, 0, HELP},
    {}};

constinit const gpon_dbg_cmd gpon_dbg_set_table[] = {
    {"enable", gpon_dbg_set_enable, 1, "Set gpon flow enable"},
    {"debug_level", gpon_dbg_set_debug_level, 1, "Set gpon flow debug level"},
    {"trace", descend<gpon_dbg_trace_table>, 1, "Set trace cfg"},
    {"help", gpon_dbg_usage, 0, HELP},
    {}};

constinit const gpon_dbg_cmd gpon_dbg_show_table[] = {
    {"en_flag", gpon_dbg_show_enable, 0, "Show gpon flow enable flag"},
    {"raw_data", gpon_dbg_show_raw_data, 0,
     "show raw data;no arg dump all;one arg classID(%d),dump this class all; arg1 "
     "classID(%d),arg2 instID(%x),dump one inst info"},
    {"flow_rule", gpon_dbg_show_flow_rule, 0, "show flow rule"},
    {"help", gpon_dbg_usage, 0, HELP},
    {}};

constinit const gpon_dbg_cmd gpon_dbg_clean_table[] = {
    {"raw_data", gpon_dbg_clean_raw_data, 0,
     "clean raw data;no arg clean all; arg1 classID(%d),arg2 instID(%x),clean one inst info"},
    {"flow_rule", gpon_dbg_clean_flow_rule, 2, "clean flow rule skbIndex TraceIndex, 0 means all"},
    {"help", gpon_dbg_usage, 0, HELP},
    {}};

constinit const gpon_dbg_cmd gpon_dbg_cmd_table[] = {
    {"set", descend<gpon_dbg_set_table>, 1, "gpon flow module set action"},
    {"show", descend<gpon_dbg_show_table>, 1, "gpon flow module show action"},
    {"clean", descend<gpon_dbg_clean_table>, 1, "gpon flow module clean action"},
    {"help", gpon_dbg_usage, 0, HELP},
    {}};

u32 gpon_dbg_parsing_cmd(u32 argc, const char* const* argv)
{
    return gpon_dbg_dispatch(gpon_dbg_cmd_table, argc, argv, gpon_dbg_cmd_table);
}

u32 gpon_dbg_dispatch(const gpon_dbg_cmd* table, u32 argc, const char* const* argv,
                      const gpon_dbg_cmd* handler_table)
{
    for (const gpon_dbg_cmd* row = table; argv[0] && row->name; ++row)
        if (begins_with(row->name, argv[0]))
            return row->handler(argc - 1, argv + 1, handler_table);
    return gpon_dbg_usage(argc, argv, table);
}

u32 gpon_dbg_usage(u32, const char* const*, const gpon_dbg_cmd* table)
{
    printk("Usage:\n");
    for (const gpon_dbg_cmd* row = table; row->name; ++row)
        printk(" %s: %s\n", row->name, row->help);
    return 0;
}
