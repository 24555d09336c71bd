// SPDX-License-Identifier: GPL-2.0-only
// The ioctl of the character device: accepted numbers, and records at the end of memory.
#include "tests/unit/store_access.h"
#include "tests/unit/unreadable_memory.h"

#include "core/chrdev.h"
#include "me/default_config.h"
#include "me_class/classes.h"

namespace {

using gpon::test::cliff;
using gpon::test::ids_of;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr u32 COMMAND = GPON_FLOW_IOC_COMMAND;

class ioctl_entry : public loaded_module {
protected:
    static gpon_flow_cmd create_bridge_record(const gpon_raw_mbsp* raw)
    {
        gpon_flow_cmd record = {};
        record.me = gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp, 1, raw);
        return record;
    }
    static long send(const void* record, u32 command = COMMAND)
    {
        return gpon_flow_ioctl(nullptr, command, reinterpret_cast<uintptr_t>(record));
    }
};

TEST_F(ioctl_entry, opens_for_everybody)
{
    EXPECT_EQ(gpon_flow_file_operations.open(nullptr), 0);
}

TEST_F(ioctl_entry, is_the_same_for_32_bit_callers)
{
    EXPECT_EQ(gpon_flow_file_operations.unlocked_ioctl, gpon_flow_ioctl);
    EXPECT_EQ(gpon_flow_file_operations.compat_ioctl, gpon_flow_ioctl);
}

TEST_F(ioctl_entry, returns_minus_1_as_a_long)
{
    EXPECT_EQ(send(nullptr), -1L);
    EXPECT_EQ(gpon::host::ioctl(COMMAND, 0), -1L);
}

TEST_F(ioctl_entry, accepts_every_size_of_the_record)
{
    const gpon_raw_mbsp raw = {};
    const gpon_flow_cmd record = create_bridge_record(&raw);
    for (u32 size = 0; size < 0x4000; size += 0x111)
        EXPECT_EQ(send(&record, COMMAND | size << 16), 0) << size;
}

TEST_F(ioctl_entry, refuses_every_other_type_and_number)
{
    for (u32 low = 0; low <= 0xffff; ++low)
        EXPECT_EQ(send(nullptr, 0x40000000 | low), low == 0x7700 ? -1 : -25) << low;
}

TEST_F(ioctl_entry, refuses_every_other_direction)
{
    for (const u32 direction : {0u, 0x80000000u, 0xc0000000u})
        EXPECT_EQ(send(nullptr, direction | 0x7700), -14);
}

TEST_F(ioctl_entry, type_and_number_lines_are_error_lines)
{
    gponDebugLevel = LOG_WARNING | LOG_TRACE;
    send(nullptr, 0x40007800);
    send(nullptr, 0x40007701);
    EXPECT_THAT(log_lines(), IsEmpty());
    gponDebugLevel = LOG_ERROR;
    send(nullptr, 0x40007800);
    send(nullptr, 0x40007701);
    EXPECT_THAT(
        log_lines(),
        ElementsAre("***ERROR***gpon_flow_ioctl: _IOC_TYPE(cmd) 78 != GLOBAL_GPON_IOC_MAGIC 77\r",
                    "***ERROR***_IOC_NR(cmd) 1 > GLOBAL_GPON_IOC_MAX_NR 1\r"));
}

TEST_F(ioctl_entry, logs_commands_at_level_8_without_a_tag)
{
    gponDebugLevel = LOG_IOCTL;
    send(nullptr, 0x40407700);
    EXPECT_THAT(log_lines(), ElementsAre("gpon_flow_ioctl: Begin, cmd is 0x[40007700]\r"));
    gponDebugLevel = 7;
    send(nullptr, 0x40407700);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(ioctl_entry, a_record_that_ends_early_is_refused)
{
    cliff memory;
    const gpon_raw_mbsp raw = {};
    const gpon_flow_cmd record = create_bridge_record(&raw);
    for (const size_t readable : {0u, 1u, 8u, 63u})
        EXPECT_EQ(send(memory.place(&record, readable)), -1) << readable;
    EXPECT_THAT(ids_of(gpon_mbsp_list), IsEmpty());
    EXPECT_EQ(send(memory.place(&record, 64)), 0);
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(1));
}

TEST_F(ioctl_entry, attributes_that_end_early_are_refused)
{
    cliff memory;
    const gpon_raw_mbsp raw = {};
    for (const size_t readable : {0u, 1u, 7u}) {
        gpon_flow_cmd record = create_bridge_record(&raw);
        record.me.attr_data = memory.address(&raw, readable);
        EXPECT_EQ(send(&record), -1) << readable;
    }
    EXPECT_THAT(ids_of(gpon_mbsp_list), IsEmpty());
    gpon_flow_cmd record = create_bridge_record(&raw);
    record.me.attr_data = memory.address(&raw, 8);
    EXPECT_EQ(send(&record), 0) << "no byte behind the record is read";
}

TEST_F(ioctl_entry, a_configuration_that_ends_early_is_refused_and_zeroes)
{
    cliff memory;
    struct gpon_flow_cfg_data cfg = {};
    cfg.default_weight = 9;
    gpon_flow_cmd record = {};
    record.cmd = GPON_FLOW_CMD_CFG_DATA;
    record.cfg_data = memory.address(&cfg, 40);
    EXPECT_EQ(send(&record), 0);
    EXPECT_EQ(gpon_flow_cfg_data.default_weight, 9);
    record.cfg_data = memory.address(&cfg, 39);
    EXPECT_EQ(send(&record), -1);
    EXPECT_EQ(gpon_flow_cfg_data.default_weight, 0);
}

TEST_F(ioctl_entry, a_word_that_ends_early_ends_the_words)
{
    cliff memory;
    char show[32] = "show";
    char flag[32] = "en_flag";
    gpon_flow_cmd record = {};
    record.cmd = GPON_FLOW_CMD_DEBUG;
    record.args[0] = reinterpret_cast<uintptr_t>(show);
    record.args[1] = memory.address(flag, 32);
    EXPECT_EQ(send(&record), 0);
    EXPECT_THAT(log_lines(), ElementsAre("gpon flow is [DISABLE]!"));
    record.args[1] = memory.address(flag, 31);
    EXPECT_EQ(send(&record), 0);
    EXPECT_THAT(log_lines(), Contains("Usage:"));
}

// Addresses that no program may read, at every stage.
TEST_F(ioctl_entry, hostile_addresses_are_refused_at_every_stage)
{
    for (const uint64_t address : {uint64_t{1}, uint64_t{0xfff}, uint64_t{1} << 47,
                                   uint64_t{1} << 63, ~uint64_t{0}, ~uint64_t{0} - 31}) {
        EXPECT_EQ(gpon::host::ioctl(COMMAND, address), -1);
        gpon_flow_cmd record = {};
        record.me = gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, me_class::mapper, 1, nullptr);
        record.me.attr_data = address;
        EXPECT_EQ(send(&record), -1);
        record.cmd = GPON_FLOW_CMD_CFG_DATA;
        record.cfg_data = address;
        EXPECT_EQ(send(&record), -1);
        record.cmd = GPON_FLOW_CMD_DEBUG;
        record.args[0] = address;
        EXPECT_EQ(send(&record), 0);
    }
    EXPECT_THAT(ids_of(gpon_mapper_list), IsEmpty());
}

} // namespace
