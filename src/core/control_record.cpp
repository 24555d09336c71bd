// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "control_record.h"

#include "../base/counters.h"
#include "../base/log.h"
#include "../debug/interpreter.h"
#include "../debug/words.h"
#include "../hash/generation.h"
#include "../hash/rule_table.h"
#include "../me/command.h"
#include "../me/default_config.h"
#include "../me/list.h"
#include "command_events.h"

static_assert(GPON_DBG_WORDS == GPON_FLOW_DEBUG_WORDS &&
              GPON_DBG_WORD_BYTES == GPON_FLOW_DEBUG_WORD_BYTES);

namespace {

const void* user_address(u64 address)
{
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(address));
}

gpon_counter counter_of(u8 msg_type, bool done)
{
    switch (msg_type) {
    case ZR_OMCI_MSG_TYPE_CREAT:
        return done ? GPON_COUNT_me_create_done : GPON_COUNT_me_create_failed;
    case ZR_OMCI_MSG_TYPE_SET:
        return done ? GPON_COUNT_me_set_done : GPON_COUNT_me_set_failed;
    case ZR_OMCI_MSG_TYPE_DELETE:
        return done ? GPON_COUNT_me_delete_done : GPON_COUNT_me_delete_failed;
    default:
        return GPON_COUNT_me_unknown;
    }
}

// Notes a command for a managed entity by its type and result, and returns the result.
i32 noted(const gpon_me_cmd& cmd, i32 result)
{
    gpon::count(counter_of(cmd.msg_type, result == 0));
    gpon::trace_me_command(cmd, result);
    return result;
}

i32 load_config(const void* user_cfg) GPON_REQUIRES(gpon_flow_control_mutex)
{
    const i32 result = gpon_flow_load_cfg_data(user_cfg);
    gpon::count(result == 0 ? GPON_COUNT_config_done : GPON_COUNT_config_failed);
    gpon::trace_command(GPON_COMMAND_CONFIG, result);
    return result;
}

// The bracket begins before the flush, so a walk that runs meanwhile is not learnt.
i32 run_me_command(gpon_me_cmd* cmd) GPON_CHANGES_LISTS
{
    const gpon::store_change change;
    gpon::count(GPON_COUNT_flushes_by_command);
    gpon_hash_clean_all_safe();
    return noted(*cmd, gpon_flow_me_handle(cmd));
}

i32 clean_all() GPON_CHANGES_LISTS
{
    const gpon::store_change change;
    gpon::count(GPON_COUNT_clean_commands);
    gpon::count(GPON_COUNT_flushes_by_clean);
    gpon_hash_clean_all_safe();
    const i32 result = gpon_flow_clean_all_me_inst();
    gpon::trace_command(GPON_COMMAND_CLEAN, result);
    return result;
}

i32 run_debug_words(const gpon_flow_cmd& record) GPON_CHANGES_LISTS
{
    gpon_dbg_words words = {};
    gpon::count(GPON_COUNT_device_commands);
    u32 count = 0;
    for (; count < GPON_DBG_WORDS; ++count) {
        char* word = words.text[count];
        if (copy_from_user(word, user_address(record.args[count]), GPON_DBG_WORD_BYTES) != 0)
            break;
        word[GPON_DBG_WORD_BYTES - 1] = '\0';
        words.argv[count] = word;
    }
    const i32 result = static_cast<i32>(gpon_dbg_parsing_cmd(count, words.argv));
    gpon::trace_words(GPON_COMMAND_DEVICE, words, result);
    return result;
}

} // namespace

i32 gpon_flow_dispatch_omci_cmd(const void* user_record)
{
    gpon_flow_cmd record;
    if (copy_from_user(&record, user_record, sizeof(record)) != 0)
        return static_cast<i32>(gpon::refuse_command(-1));
    switch (record.cmd) {
    case GPON_FLOW_CMD_ME:
        return run_me_command(&record.me);
    case GPON_FLOW_CMD_CFG_DATA:
        return load_config(user_address(record.cfg_data));
    case GPON_FLOW_CMD_DEBUG:
        return run_debug_words(record);
    case GPON_FLOW_CMD_CLEAN:
        return clean_all();
    default:
        log_error("gpon_flow_dispatch_omci_cmd: Without CMD: %d\r\n", record.cmd);
        return static_cast<i32>(gpon::refuse_command(-1));
    }
}
