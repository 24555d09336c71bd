// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "store_commands.h"

#include "../base/counters.h"
#include "../base/log.h"
#include "../hash/dump.h"
#include "../hash/generation.h"
#include "../hash/rule_table.h"
#include "../me/command.h"
#include "../me/dump.h"
#include "../me/list.h"
#include "../me/registry.h"
#include "words.h"

namespace {

constexpr u32 NO_INSTANCE = 0xFFFFFFFF;
constexpr u32 ALL_INSTANCES = 1;

// "CLASS [INSTANCE]": class ids are decimal, instance ids hexadecimal.
struct me_words {
    i32 class_id = 0;
    u32 inst_id = NO_INSTANCE;

    const gpon_me_entry* find_class() const
    {
        return gpon_flow_me_get_by_classid(gpon::to_me_class(static_cast<u16>(class_id)));
    }
};

me_words read_me_words(u32 argc, const char* const* argv)
{
    me_words words;
    if (argc == 1 || argc == 2)
        words.class_id = gpon::scan_decimal(argv[0]).value_or(0);
    if (argc == 2)
        words.inst_id = gpon::scan_hex(argv[1]).value_or(NO_INSTANCE);
    return words;
}

void delete_instance(const me_words& words) GPON_CHANGES_LISTS
{
    printk("del classId = %d instance [%04x]\n", words.class_id, words.inst_id);
    gpon_me_cmd cmd = {};
    cmd.inst_id = static_cast<u16>(words.inst_id);
    // Every handler runs, but with the message type of no command. Only create, set and delete
    // change links, so instances that recorded this one still show its id.
    cmd.attr_mask = 0xFFFF;
    const gpon::store_change change;
    gpon_flow_me_general_delete(words.find_class(), &cmd);
}

} // namespace

u32 gpon_dbg_dump_me_inst(u32 argc, const char* const* argv)
{
    assert_changes_lists();
    if (argc == 0) {
        printk("show All ME Raw Data:\n");
        gpon_flow_dump_all_me_inst();
        return 0;
    }
    if (argc > 2)
        return 0;
    const me_words words = read_me_words(argc, argv);
    const gpon_me_entry* entry = words.find_class();
    if (!entry) {
        log_error("[%s][%d]the classId(%d) can not get the entry.\n", words.class_id);
        return 0;
    }
    gpon_flow_general_dump_inst(entry, static_cast<u16>(words.inst_id),
                                argc == 1 ? ALL_INSTANCES : 0);
    return 0;
}

u32 gpon_dbg_show_raw_data(u32 argc, const char* const* argv, const gpon_dbg_cmd*)
{
    return gpon_dbg_dump_me_inst(argc, argv);
}

u32 gpon_dbg_show_flow_rule(u32, const char* const*, const gpon_dbg_cmd*)
{
    printk("show flow rule:\n");
    gpon_hash_dump_all_safe();
    return 0;
}

u32 gpon_dbg_clean_raw_data(u32 argc, const char* const* argv, const gpon_dbg_cmd*)
{
    assert_changes_lists();
    const me_words words = read_me_words(argc, argv);
    if (argc == 0) {
        printk("del All ME Raw Data:\n");
        gpon_flow_clean_all_me_inst();
    } else if (argc == 1) {
        printk("del classId = %d, please input delete instId(hex)\n", words.class_id);
    } else {
        delete_instance(words);
    }
    return 0;
}

u32 gpon_dbg_clean_flow_rule(u32 argc, const char* const* argv, const gpon_dbg_cmd*)
{
    if (argc != 2) {
        printk("please input: del hashVal = %d traceIndex = %d\n", 0, 0);
        return 0;
    }
    const i32 hash_val = gpon::scan_decimal(argv[0]).value_or(0);
    const i32 index = gpon::scan_decimal(argv[1]).value_or(0);
    printk("del hashVal = %d traceIndex = %d\n", hash_val, index);
    if (hash_val == 0) {
        printk("del All Flow Rule Data:\n");
        gpon::count(GPON_COUNT_flushes_by_operator);
        gpon_hash_clean_all_safe();
    }
    gpon_hash_delete_node_safe(static_cast<u32>(hash_val), static_cast<u16>(index));
    return 0;
}
