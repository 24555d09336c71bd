// SPDX-License-Identifier: GPL-2.0-only
// Without memory, or with unreadable user memory, at each single call of every control command and
// of every packet: the result is correct, nothing leaks, the store is consistent, and the next
// command works.
#include <functional>

#include "tests/unit/store_access.h"

#include "core/control_record.h"
#include "core/hook.h"
#include "me/default_config.h"
#include "me_class/classes.h"

namespace {

using gpon::host::fault;
using gpon::test::apply;
using gpon::test::ids_of;
using gpon::test::recorded;

using gpon::test::CREATE;
using gpon::test::DELETE;
using gpon::test::SET;

constexpr u8 frame[] = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 0x81, 0, 0x60, 100, 8, 0};

void expect_store_whole()
{
    for (u16 row = 1; row < GPON_ME_ROWS; ++row) {
        SCOPED_TRACE(me_table[row].name);
        const list_head& head = *me_table[row].list_info->head;
        for (const u16 id : ids_of(head))
            for (const gpon_me_related_info* link = gpon::find_inst(&head, id)->related;
                 link->related_class_id != me_class::none; ++link)
                recorded(*link);
    }
}

class store_under_faults : public loaded_module {
protected:
    // A line whose commands touch every class, auto-creation included.
    static std::vector<std::function<i32()>> provisioning()
    {
        static const gpon_raw_mbsp bridge = {1, 1, 0, 0};
        static const gpon_raw_gemctp ctp = {1, 1025, 0x8000, 3, 5, 1, 2};
        static const gpon_raw_td descriptor = {1, 0, 0, 0, 0, 0, 0, 0, 0};
        static const gpon_raw_gemiw tp = {0x11, 1};
        static const gpon_raw_multigemiw multicast = {0x12, 1};
        static const gpon_raw_mapper mapper = {
            1, 0x501, {0x11, 0x11, 0xffff, 0x11, 0x11, 0x11, 0x11, 0x11}, 1, {}, 0, 7};
        static const gpon_raw_mbpcd uni = {0x101, 1, 1, 0x101};
        static const gpon_raw_mbpcd ani = {0x1001, 1, 3, 1};
        static const gpon_raw_mbpcd veip = {0x102, 1, 11, 0x502};
        static const gpon_raw_vtfd filter = {0x1001, {100}, 4, 1};
        static const gpon_raw_pq queue = {7, 0x80000000, 0x8001, 1};
        static const gpon_raw_tcont tcont = {0x8005, 5, 1};
        static const gpon_raw_ts scheduler = {0x8006, 0x8005, 0, 1, 1};
        static const gpon_raw_vtocd vlan = {1};
        return {[] { return apply(CREATE, me_class::mbsp, 1, &bridge); },
                [] { return apply(CREATE, me_class::td, 1, &descriptor); },
                [] { return apply(CREATE, me_class::gemctp, 1, &ctp); },
                [] { return apply(CREATE, me_class::gemiw, 0x11, &tp); },
                [] { return apply(CREATE, me_class::multigemiw, 0x12, &multicast); },
                [] { return apply(CREATE, me_class::mapper, 1, &mapper); },
                [] { return apply(CREATE, me_class::mbpcd, 0x101, &uni); },
                [] { return apply(CREATE, me_class::mbpcd, 0x1001, &ani); },
                [] { return apply(SET, me_class::mbpcd, 0x102, &veip); },
                [] { return apply(CREATE, me_class::vtfd, 0x1001, &filter); },
                [] { return apply(SET, me_class::pq, 7, &queue); },
                [] { return apply(SET, me_class::tcont, 0x8005, &tcont); },
                [] { return apply(SET, me_class::ts, 0x8006, &scheduler); },
                [] { return apply(CREATE, me_class::vtocd, 1, &vlan); },
                [] { return apply(CREATE, me_class::evtocd, 1, &vlan); },
                [] { return apply(SET, me_class::mapper, 1, &mapper); },
                [] { return apply(SET, me_class::mbpcd, 0x1001, &ani); },
                [] { return apply(DELETE, me_class::vtfd, 0x1001, nullptr); },
                [] { return apply(DELETE, me_class::mbpcd, 0x1001, nullptr); },
                [] { return apply(DELETE, me_class::gemctp, 1, nullptr); },
                [] { return apply(DELETE, me_class::mapper, 9, nullptr); },
                [] { return gpon_flow_clean_all_me_inst(); }};
    }

    static void run_clean(const std::vector<std::function<i32()>>& commands, size_t count)
    {
        gpon_flow_clean_all_me_inst();
        for (size_t i = 0; i < count; ++i)
            ASSERT_EQ(commands[i](), 0) << "command " << i;
        gpon::host::rcu_settle();
    }

    // Blocks that an undisturbed run of the first `count` commands leaves.
    static uint64_t blocks_after(const std::vector<std::function<i32()>>& commands, size_t count)
    {
        run_clean(commands, count);
        return gpon::host::memory().live_blocks;
    }
};

TEST_F(store_under_faults, every_allocation_of_every_command_may_fail)
{
    const auto commands = provisioning();
    size_t faults = 0;
    for (size_t at = 0; at < commands.size(); ++at)
        for (uint64_t nth = 1;; ++nth) {
            SCOPED_TRACE(testing::Message() << "command " << at << ", allocation " << nth);
            run_clean(commands, at);
            gpon::host::arm_fault(fault::alloc, nth);
            const i32 returned = commands[at]();
            const bool fired = gpon::host::fault_fired(fault::alloc);
            gpon::host::disarm_faults();
            EXPECT_TRUE(returned == 0 || returned == -1);
            expect_store_whole();
            if (!fired) {
                EXPECT_EQ(returned, 0);
                break;
            }
            ++faults;
            EXPECT_EQ(commands[at](), 0) << "the same command again";
            expect_store_whole();
            gpon_flow_clean_all_me_inst();
            gpon::host::rcu_settle();
            EXPECT_EQ(gpon::host::memory().live_blocks, 1u) << "the rule table's buckets";
            if (HasFailure())
                return;
        }
    EXPECT_GT(faults, 100u);
}

TEST_F(store_under_faults, a_command_that_failed_left_no_block)
{
    const auto commands = provisioning();
    for (size_t at = 0; at < commands.size(); ++at)
        for (uint64_t nth = 1;; ++nth) {
            SCOPED_TRACE(testing::Message() << "command " << at << ", allocation " << nth);
            const uint64_t before = blocks_after(commands, at);
            gpon::host::arm_fault(fault::alloc, nth);
            const i32 returned = commands[at]();
            const bool fired = gpon::host::fault_fired(fault::alloc);
            gpon::host::disarm_faults();
            gpon::host::rcu_settle();
            if (returned != 0) {
                EXPECT_EQ(gpon::host::memory().live_blocks, before);
            }
            if (!fired || HasFailure())
                break;
        }
}

TEST_F(store_under_faults, every_copy_from_user_space_may_fail)
{
    const auto commands = provisioning();
    for (size_t at = 0; at < commands.size(); ++at)
        for (uint64_t nth = 1;; ++nth) {
            SCOPED_TRACE(testing::Message() << "command " << at << ", copy " << nth);
            const uint64_t before = blocks_after(commands, at);
            gpon::host::arm_fault(fault::copy, nth);
            const i32 returned = commands[at]();
            const bool fired = gpon::host::fault_fired(fault::copy);
            gpon::host::disarm_faults();
            expect_store_whole();
            EXPECT_EQ(returned, fired ? -1 : 0);
            if (!fired)
                break;
            gpon::host::rcu_settle();
            EXPECT_EQ(gpon::host::memory().live_blocks, before);
            EXPECT_EQ(commands[at](), 0);
        }
}

TEST_F(store_under_faults, every_allocation_of_every_packet_may_fail)
{
    const auto commands = provisioning();
    constexpr size_t whole_line = 16;
    size_t faults = 0;
    gpon::host::hook(GPON_API_SWITCH, 1, nullptr);
    for (const u32 kind : {0u, 1u, 2u, 3u})
        for (uint64_t nth = 1;; ++nth) {
            SCOPED_TRACE(testing::Message() << "kind " << kind << ", allocation " << nth);
            const uint64_t before = blocks_after(commands, whole_line);
            sk_buff packet;
            packet.data = frame;
            packet.bytes = sizeof(frame);
            packet.port_word = 1 << 4;
            packet.gemport_id = 1025;
            gpon::host::arm_fault(fault::alloc, nth);
            const auto returned = gpon::host::hook(kind, 0, &packet);
            const bool fired = gpon::host::fault_fired(fault::alloc);
            gpon::host::disarm_faults();
            ASSERT_TRUE(returned.has_value());
            EXPECT_EQ(returned->ret, 2);
            EXPECT_TRUE(returned->api_result == 0 || returned->api_result == 1);
            EXPECT_EQ(packet.flag_word, 0u);
            expect_store_whole();
            EXPECT_EQ(apply(DELETE, me_class::vtfd, 0x9999, nullptr), 0)
                << "flushes what was learnt";
            gpon::host::rcu_settle();
            EXPECT_EQ(gpon::host::memory().live_blocks, before);
            EXPECT_EQ(gpon::host::hook(kind, 0, &packet)->api_result, 0) << "the next packet";
            EXPECT_EQ(apply(DELETE, me_class::vtfd, 0x9999, nullptr), 0);
            if (!fired || HasFailure())
                break;
            ++faults;
        }
    EXPECT_GT(faults, 20u);
}

TEST_F(store_under_faults, debug_words_and_proc_lines_may_be_unreadable)
{
    char words[4][32] = {"set", "trace", "outer_vlan", "7"};
    gpon_flow_cmd record = {};
    record.cmd = GPON_FLOW_CMD_DEBUG;
    for (size_t i = 0; i < 4; ++i)
        record.args[i] = reinterpret_cast<uintptr_t>(words[i]);
    gpon::host::arm_fault(fault::copy, 1);
    EXPECT_EQ(gpon_flow_dispatch_omci_cmd(&record), -1);
    for (uint64_t nth = 2; nth <= 5; ++nth) {
        gpon::host::arm_fault(fault::copy, nth);
        EXPECT_EQ(gpon_flow_dispatch_omci_cmd(&record), 0);
        EXPECT_TRUE(gpon::host::fault_fired(fault::copy));
        EXPECT_EQ(trace_cfg.outer_vlan, 0);
        trace_cfg = {};
    }
    EXPECT_EQ(gpon_flow_dispatch_omci_cmd(&record), 0);
    EXPECT_EQ(trace_cfg.outer_vlan, 7);
}

class load_under_faults : public testing::Test {
protected:
    load_under_faults()
    {
        gpon::host::reset();
        gpon::host::set_sink([this](const gpon::host::event& event) {
            if (event.type == gpon::host::event::log)
                text += event.text;
        });
    }
    ~load_under_faults() override
    {
        gpon::host::set_sink(nullptr);
        gpon::host::reset();
    }
    std::string text;
};

TEST_F(load_under_faults, the_unload_frees_the_rest_of_a_failed_load)
{
    struct {
        fault kind;
        int result;
        const char* text;
    } const faults[] = {
        {fault::chrdev, 0, "ERROR!gpon_flow_ioctl_init,create chrdev gpon_flow fail\n"},
        {fault::proc_dir, -1, "ERROR!Create proc directory gpon_flow fail!"},
        {fault::proc_entry, -12, "ERROR!Create proc entry debug fail!"},
        {fault::alloc, 0, ""},
    };
    for (const auto& wanted : faults) {
        text.clear();
        gpon::host::arm_fault(wanted.kind);
        EXPECT_EQ(gpon::host::load(), wanted.result);
        EXPECT_EQ(text, wanted.text);
        EXPECT_TRUE(gpon::host::fault_fired(wanted.kind));
        EXPECT_TRUE(gpon::host::is_loaded());
        gpon::host::unload();
        EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
        EXPECT_EQ(gpon::host::load(), 0) << "the next load";
        gpon::host::unload();
        EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
    }
}

TEST_F(load_under_faults, a_missing_hook_panics)
{
    gpon::host::arm_fault(fault::hook);
    EXPECT_EQ(gpon::host::load(), std::nullopt);
}

TEST_F(load_under_faults, every_load_starts_with_fresh_data)
{
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(gpon::host::load(), 0);
        EXPECT_EQ(gponFlowEnableFlag, 0u);
        EXPECT_EQ(gponDebugLevel, 0u);
        EXPECT_EQ(trace_cfg.valid_mask, 0);
        EXPECT_EQ(gpon_flow_cfg_data.default_weight, 0);
        EXPECT_TRUE(ids_of(gpon_mbsp_list).empty());
        gponFlowEnableFlag = 1;
        gponDebugLevel = 7;
        trace_cfg.valid_mask = 15;
        gpon_flow_cfg_data.default_weight = 9;
        gpon::test::create_bridge(1);
        gpon::host::unload();
        EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
    }
}

} // namespace
