// SPDX-License-Identifier: GPL-2.0-only
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "tests/unit/store_access.h"

#include "core/chrdev.h"
#include "core/proc.h"
#include "me/default_config.h"
#include "me_class/classes.h"

namespace {

using gpon::test::ids_of;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr u32 COMMAND = GPON_FLOW_IOC_COMMAND;

// Memory behind which nothing is readable.
class cliff {
public:
    cliff() : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE)))
    {
        void* mapped =
            mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(mapped, MAP_FAILED);
        start_ = static_cast<u8*>(mapped);
        EXPECT_EQ(mprotect(start_ + page_, page_, PROT_NONE), 0);
    }
    ~cliff() { munmap(start_, 2 * page_); }
    cliff(const cliff&) = delete;
    cliff& operator=(const cliff&) = delete;

    // The object's first `readable` bytes, up to the edge.
    void* place(const void* object, size_t readable)
    {
        u8* at = start_ + page_ - readable;
        std::memcpy(at, object, readable);
        return at;
    }
    uint64_t address(const void* object, size_t readable)
    {
        return reinterpret_cast<uintptr_t>(place(object, readable));
    }

private:
    size_t page_;
    u8* start_ = nullptr;
};

class ioctl_door : public loaded_module {
protected:
    static gpon_flow_cmd create_bridge_record(const gpon_raw_mbsp* raw)
    {
        gpon_flow_cmd record = {};
        record.me = gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, 45, 1, raw);
        return record;
    }
    static long send(const void* record, u32 command = COMMAND)
    {
        return gpon_flow_ioctl(nullptr, command, reinterpret_cast<uintptr_t>(record));
    }
};

TEST_F(ioctl_door, opens_for_everybody)
{
    EXPECT_EQ(gpon_flow_file_operations.open(nullptr), 0);
}

TEST_F(ioctl_door, is_the_same_for_32_bit_callers)
{
    EXPECT_EQ(gpon_flow_file_operations.unlocked_ioctl, gpon_flow_ioctl);
    EXPECT_EQ(gpon_flow_file_operations.compat_ioctl, gpon_flow_ioctl);
}

TEST_F(ioctl_door, answers_minus_1_as_a_long)
{
    EXPECT_EQ(send(nullptr), -1L);
    EXPECT_EQ(gpon::host::ioctl(COMMAND, 0), -1L);
}

TEST_F(ioctl_door, accepts_every_size_of_the_record)
{
    const gpon_raw_mbsp raw = {};
    const gpon_flow_cmd record = create_bridge_record(&raw);
    for (u32 size = 0; size < 0x4000; size += 0x111)
        EXPECT_EQ(send(&record, COMMAND | size << 16), 0) << size;
}

TEST_F(ioctl_door, refuses_every_other_type_and_number)
{
    for (u32 low = 0; low <= 0xffff; ++low)
        EXPECT_EQ(send(nullptr, 0x40000000 | low), low == 0x7700 ? -1 : -25) << low;
}

TEST_F(ioctl_door, refuses_every_other_direction)
{
    for (const u32 direction : {0u, 0x80000000u, 0xc0000000u})
        EXPECT_EQ(send(nullptr, direction | 0x7700), -14);
}

TEST_F(ioctl_door, type_and_number_lines_are_error_lines)
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

TEST_F(ioctl_door, announces_commands_at_level_8_without_a_tag)
{
    gponDebugLevel = LOG_IOCTL;
    send(nullptr, 0x40407700);
    EXPECT_THAT(log_lines(), ElementsAre("gpon_flow_ioctl: Begin, cmd is 0x[40007700]\r"));
    gponDebugLevel = 7;
    send(nullptr, 0x40407700);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(ioctl_door, a_record_that_ends_early_is_refused)
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

TEST_F(ioctl_door, attributes_that_end_early_are_refused)
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

TEST_F(ioctl_door, a_configuration_that_ends_early_is_refused_and_zeroes)
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

TEST_F(ioctl_door, a_word_that_ends_early_ends_the_words)
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
TEST_F(ioctl_door, hostile_addresses_are_refused_at_every_stage)
{
    for (const uint64_t address : {uint64_t{1}, uint64_t{0xfff}, uint64_t{1} << 47,
                                   uint64_t{1} << 63, ~uint64_t{0}, ~uint64_t{0} - 31}) {
        EXPECT_EQ(gpon::host::ioctl(COMMAND, address), -1);
        gpon_flow_cmd record = {};
        record.me = gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, 130, 1, nullptr);
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

class proc_door : public loaded_module {
protected:
    static long write(std::string_view line)
    {
        return gpon_flow_proc_write(nullptr, line.data(), line.size());
    }
};

TEST_F(proc_door, takes_lines_of_at_most_131_bytes)
{
    for (const size_t length : {0u, 1u, 130u, 131u})
        EXPECT_EQ(write(std::string(length, ' ')), static_cast<long>(length));
    log_lines();
    for (const size_t length : {132u, 133u, 4096u})
        EXPECT_EQ(write(std::string(length, ' ')), -22);
    EXPECT_EQ(gpon_flow_proc_write(nullptr, nullptr, ~0ul), -22);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(proc_door, an_unreadable_line_prints_nothing)
{
    cliff memory;
    const char line[] = "set enable 1";
    EXPECT_EQ(gpon_flow_proc_write(nullptr, static_cast<char*>(memory.place(line, 11)), 12), -14);
    EXPECT_EQ(gpon_flow_proc_write(nullptr, nullptr, 12), -14);
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_EQ(gponFlowEnableFlag, 0u);
    EXPECT_EQ(gpon_flow_proc_write(nullptr, static_cast<char*>(memory.place(line, 12)), 12), 12);
    EXPECT_EQ(gponFlowEnableFlag, 1u);
}

TEST_F(proc_door, the_switch_line_comes_before_the_command)
{
    EXPECT_EQ(write("set enable 1"), 12);
    EXPECT_THAT(log_lines(), ElementsAre("CURRENT GPON FLOW SWITCH DISABLE",
                                         "change gpon flow switch from [DISABLE] to [ENABLE]"));
    EXPECT_EQ(write("show en_flag"), 12);
    EXPECT_THAT(log_lines(),
                ElementsAre("CURRENT GPON FLOW SWITCH ENABLE", "gpon flow is [ENABLE]!"));
}

TEST_F(proc_door, a_line_ends_at_its_first_zero_byte)
{
    const std::string_view line("show\0set enable 1", 17);
    EXPECT_EQ(write(line), 17);
    EXPECT_EQ(gponFlowEnableFlag, 0u);
}

TEST_F(proc_door, words_beyond_the_fourth_are_dropped)
{
    EXPECT_EQ(write("set trace outer_vlan 5 set enable 1"), 35);
    EXPECT_EQ(trace_cfg.outer_vlan, 5);
    EXPECT_EQ(gponFlowEnableFlag, 0u);
}

TEST_F(proc_door, blanks_of_every_kind_part_words)
{
    EXPECT_EQ(write("\t set\n\v\fdebug_level\r2\n"), 22);
    EXPECT_EQ(gponDebugLevel, 2u);
}

TEST_F(proc_door, a_long_word_is_cut_to_31_characters)
{
    EXPECT_EQ(write("set debug_level " + std::string(30, '0') + "4567"), 50);
    EXPECT_EQ(gponDebugLevel, 4u);
    EXPECT_EQ(write("set debug_level " + std::string(31, '0') + "4567"), 51);
    EXPECT_EQ(gponDebugLevel, 0u);
    EXPECT_EQ(write(std::string(131, 'x')), 131);
}

TEST_F(proc_door, a_line_without_words_gets_the_usage)
{
    for (const char* line : {"", " ", "\n", "\t \n"}) {
        EXPECT_EQ(write(line), static_cast<long>(std::strlen(line)));
        EXPECT_THAT(log_lines(),
                    testing::IsSupersetOf({"CURRENT GPON FLOW SWITCH DISABLE", "Usage:"}));
    }
}

TEST_F(proc_door, reading_prints_the_switch_and_gives_nothing)
{
    EXPECT_EQ(gpon_flow_proc_read(), 0);
    gponFlowEnableFlag = 2;
    EXPECT_EQ(gpon_flow_proc_read(), 0);
    EXPECT_THAT(log_lines(), ElementsAre("GPON FLOW SWITCH DISABLE", "GPON FLOW SWITCH ENABLE"));
}

} // namespace
