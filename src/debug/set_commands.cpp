// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "set_commands.h"

#include "../base/log.h"
#include "words.h"

namespace {

const char* switch_name(u32 enable_flag)
{
    return enable_flag ? "ENABLE" : "DISABLE";
}

void use_field(trace_mask field)
{
    gpon::store_relaxed(trace_cfg.valid_mask, static_cast<u16>(trace_cfg.valid_mask | field));
}

u32 set_mac(const char* which, const char* word, u8 (&mac)[6], trace_mask field)
{
    const std::array<u32, 6> value = gpon::scan_mac(word);
    printk("set trace %s mac %02x:%02x:%02x:%02x:%02x:%02x\n", which, value[0], value[1], value[2],
           value[3], value[4], value[5]);
    u8 bytes[6];
    for (u32 i = 0; i < 6; ++i)
        bytes[i] = static_cast<u8>(value[i]);
    gpon::copy_words_to_shared<u16>(mac, bytes, sizeof(bytes));
    use_field(field);
    return 0;
}

u32 set_vlan(const char* which, const char* word, u16& tci, trace_mask field)
{
    const i32 value = gpon::scan_decimal(word).value_or(0);
    printk("set trace %s vlan %d\n", which, value);
    gpon::store_relaxed(tci, static_cast<u16>(value));
    use_field(field);
    return 0;
}

} // namespace

u32 gpon_dbg_set_enable(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    const u32 value = gpon::scan_hex(argv[0]).value_or(0);
    printk("change gpon flow switch from [%s] to [%s]\n", switch_name(gponFlowEnableFlag),
           switch_name(value));
    gpon::store_relaxed(gponFlowEnableFlag, value);
    return 0;
}

u32 gpon_dbg_set_debug_level(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    const u32 mask = gpon::scan_hex(argv[0]).value_or(0);
    printk("set gpon flow debug level 0x%x\n", mask);
    gpon::store_relaxed(gponDebugLevel, mask);
    return 0;
}

u32 gpon_dbg_set_dst_mac(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    return set_mac("dst", argv[0], trace_cfg.dst_mac, TRACE_DST_MAC);
}

u32 gpon_dbg_set_src_mac(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    return set_mac("src", argv[0], trace_cfg.src_mac, TRACE_SRC_MAC);
}

u32 gpon_dbg_set_outer_vlan(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    return set_vlan("outer", argv[0], trace_cfg.outer_vlan, TRACE_OUTER_VLAN);
}

u32 gpon_dbg_set_inner_vlan(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    return set_vlan("inner", argv[0], trace_cfg.inner_vlan, TRACE_INNER_VLAN);
}

u32 gpon_dbg_disable_trace(u32, const char* const*, const gpon_dbg_cmd*)
{
    const gpon_trace_cfg off = {};
    gpon::copy_words_to_shared<u16>(reinterpret_cast<u8*>(&trace_cfg),
                                    reinterpret_cast<const u8*>(&off), sizeof(off));
    printk("set trace disable, valid mask = %x\n", trace_cfg.valid_mask);
    return 0;
}

u32 gpon_dbg_show_enable(u32, const char* const*, const gpon_dbg_cmd*)
{
    printk("gpon flow is [%s]!\n", switch_name(gponFlowEnableFlag));
    return 0;
}
