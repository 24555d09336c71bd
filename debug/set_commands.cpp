// SPDX-License-Identifier: GPL-2.0-only
#include "../include/log.h"
#include "interpreter.h"
#include "words.h"

namespace {

const char* switch_name(u32 enable_flag)
{
    return enable_flag ? "ENABLE" : "DISABLE";
}

struct mac_values {
    u32 of[6] = {};

    explicit mac_values(const char* word) { gpon::scan_mac(word, of); }

    void store(u8 (&mac)[6]) const
    {
        u8 bytes[6];
        for (u32 i = 0; i < 6; ++i)
            bytes[i] = static_cast<u8>(of[i]);
        gpon::copy_words_to_shared<u16>(mac, bytes, sizeof(bytes));
    }
};

void use_field(trace_mask field)
{
    gpon::store_relaxed(trace_cfg.valid_mask, static_cast<u16>(trace_cfg.valid_mask | field));
}

i32 scan_vlan(const char* word)
{
    i32 vlan = 0;
    gpon::scan_decimal(word, &vlan);
    return vlan;
}

} // namespace

u32 gpon_dbg_set_enable(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    u32 value = 0;
    gpon::scan_hex(argv[0], &value);
    printk("change gpon flow switch from [%s] to [%s]\n", switch_name(gponFlowEnableFlag),
           switch_name(value));
    gpon::store_relaxed(gponFlowEnableFlag, value);
    return 0;
}

u32 gpon_dbg_set_debug_level(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    u32 mask = 0;
    gpon::scan_hex(argv[0], &mask);
    printk("set gpon flow debug level 0x%x\n", mask);
    gpon::store_relaxed(gponDebugLevel, mask);
    return 0;
}

u32 gpon_dbg_set_dst_mac(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    const mac_values mac(argv[0]);
    printk("set trace dst mac %02x:%02x:%02x:%02x:%02x:%02x\n", mac.of[0], mac.of[1], mac.of[2],
           mac.of[3], mac.of[4], mac.of[5]);
    mac.store(trace_cfg.dst_mac);
    use_field(TRACE_DST_MAC);
    return 0;
}

u32 gpon_dbg_set_src_mac(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    const mac_values mac(argv[0]);
    printk("set trace src mac %02x:%02x:%02x:%02x:%02x:%02x\n", mac.of[0], mac.of[1], mac.of[2],
           mac.of[3], mac.of[4], mac.of[5]);
    mac.store(trace_cfg.src_mac);
    use_field(TRACE_SRC_MAC);
    return 0;
}

u32 gpon_dbg_set_outer_vlan(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    const i32 vlan = scan_vlan(argv[0]);
    printk("set trace outer vlan %d\n", vlan);
    gpon::store_relaxed(trace_cfg.outer_vlan, static_cast<u16>(vlan));
    use_field(TRACE_OUTER_VLAN);
    return 0;
}

u32 gpon_dbg_set_inner_vlan(u32, const char* const* argv, const gpon_dbg_cmd*)
{
    const i32 vlan = scan_vlan(argv[0]);
    printk("set trace inner vlan %d\n", vlan);
    gpon::store_relaxed(trace_cfg.inner_vlan, static_cast<u16>(vlan));
    use_field(TRACE_INNER_VLAN);
    return 0;
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
