// SPDX-License-Identifier: GPL-2.0-only
// Every allocation, copy from user space and registration of every operation fails once, as number
// 1, 2, 3 and so on until the operation meets no fault. Through the entry points of the kernel, the
// invariants hold, the same operation then works, and nothing stays allocated after unload.
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>

#include "tests/support/invariants.h"
#include "tests/unit/store_access.h"

namespace {

using gpon::host::fault;

using gpon::test::CREATE;
using gpon::test::DELETE;
using gpon::test::SET;

// Calls of one fault kind that an operation can have; more would mean that it never ends.
constexpr uint64_t MANY = 2000;

struct operation {
    std::string name;
    std::function<void()> prepare; // on a freshly loaded module, without faults
    std::function<std::optional<long>()> run;
};

struct entity {
    me_class class_id;
    u16 inst_id;
    const void* raw;
};

// A line with an instance of every class, in an order in which each is pointed at by later ones.
const std::vector<entity>& entities()
{
    static const gpon_raw_pptp pptp = {0x101};
    static const gpon_raw_veip veip = {0x501};
    static const gpon_raw_mbsp bridge = {1, 1, 0, 0};
    static const gpon_raw_td descriptor = {1, 0, 0, 0, 0, 0, 0, 0, 0};
    static const gpon_raw_tcont tcont = {0x8000, 5, 1};
    static const gpon_raw_ts scheduler = {0x8001, 0x8000, 0, 1, 1};
    static const gpon_raw_pq queue = {5, 0x80000000, 0x8001, 1};
    static const gpon_raw_gemctp ctp = {1, 1025, 0x8000, 3, 5, 1, 1};
    static const gpon_raw_gemiw tp = {0x11, 1};
    static const gpon_raw_multigemiw multicast = {0x12, 1};
    static const gpon_raw_mapper mapper = {
        1, 0x501, {0x11, 0x11, 0xffff, 0x11, 0x11, 0x11, 0x11, 0x11}, 1, {}, 0, 7};
    static const gpon_raw_mbpcd uni = {0x101, 1, 1, 0x101};
    static const gpon_raw_mbpcd ani = {0x1001, 1, 3, 1};
    static const gpon_raw_vtfd filter = {0x1001, {100}, 0, 1};
    static const gpon_raw_vtocd vlan = {1};
    static const gpon_raw_evtocd extended = {1};
    static const std::vector<entity> all = {
        {me_class::pptp, 0x101, &pptp},    {me_class::veip, 0x501, &veip},
        {me_class::mbsp, 1, &bridge},      {me_class::td, 1, &descriptor},
        {me_class::tcont, 0x8000, &tcont}, {me_class::ts, 0x8001, &scheduler},
        {me_class::pq, 5, &queue},         {me_class::gemctp, 1, &ctp},
        {me_class::gemiw, 0x11, &tp},      {me_class::multigemiw, 0x12, &multicast},
        {me_class::mapper, 1, &mapper},    {me_class::mbpcd, 0x101, &uni},
        {me_class::mbpcd, 0x1001, &ani},   {me_class::vtfd, 0x1001, &filter},
        {me_class::vtocd, 1, &vlan},       {me_class::evtocd, 1, &extended}};
    return all;
}

std::optional<long> send(const gpon_flow_cmd& record)
{
    return gpon::host::ioctl(GPON_FLOW_IOC_COMMAND, reinterpret_cast<uintptr_t>(&record));
}

std::optional<long> command(u8 message, const entity& target)
{
    gpon_flow_cmd record = {};
    record.me = gpon::test::command(message, target.class_id, target.inst_id, target.raw);
    return send(record);
}

std::optional<long> plain(u32 cmd, const void* cfg = nullptr)
{
    gpon_flow_cmd record = {};
    record.cmd = cmd;
    record.cfg_data = reinterpret_cast<uintptr_t>(cfg);
    return send(record);
}

std::optional<long> debug_words(const std::vector<const char*>& words)
{
    std::array<std::array<char, 32>, 4> texts = {};
    gpon_flow_cmd record = {};
    record.cmd = GPON_FLOW_CMD_DEBUG;
    for (size_t i = 0; i < words.size(); ++i) {
        std::strncpy(texts[i].data(), words[i], texts[i].size() - 1);
        record.args[i] = reinterpret_cast<uintptr_t>(texts[i].data());
    }
    return send(record);
}

// Frames from different sources are different rules.
std::optional<long> packet(u32 kind, u16 source, u16 multicast = 0)
{
    const u8 frame[] = {
        2,    0, 0,    0,   0, 1, 2, 0, 0, 0, static_cast<u8>(source >> 8), static_cast<u8>(source),
        0x81, 0, 0x60, 100, 8, 0};
    const std::unique_ptr<u8[]> exact = std::make_unique<u8[]>(sizeof(frame));
    std::memcpy(exact.get(), frame, sizeof(frame));
    sk_buff skb;
    skb.data = exact.get();
    skb.bytes = sizeof(frame);
    skb.port_word = 1 << 4;
    skb.gemport_id = 1025;
    skb.multicast = multicast;
    const auto returned = gpon::host::hook(kind, 1, &skb);
    if (!returned)
        return {};
    EXPECT_EQ(returned->ret, GPON_HOOK_RETURN);
    EXPECT_TRUE(returned->api_result == 0 || returned->api_result == 1);
    EXPECT_EQ(skb.flag_word, 0u);
    return returned->api_result;
}

void nothing() {}

void provision()
{
    gpon::host::hook(GPON_API_SWITCH, 1, nullptr);
    for (const entity& each : entities())
        EXPECT_EQ(command(CREATE, each), 0) << "class " << gpon::class_number(each.class_id);
}

// As many rules as make the next one grow the table.
void fill_table()
{
    provision();
    for (u16 source = 1; source < 4000 && gpon_hash_table_record.total_num < 48; ++source)
        packet(GPON_API_UP_ANI, source);
    EXPECT_EQ(gpon_hash_table_record.total_num, 48u);
}

void add_commands(std::vector<operation>& to)
{
    for (const entity& each : entities()) {
        const std::string name = std::to_string(gpon::class_number(each.class_id));
        for (const u8 message : {CREATE, SET, DELETE})
            for (const bool among_others : {false, true})
                to.push_back({"message " + std::to_string(message) + " class " + name,
                              among_others ? provision : nothing,
                              [message, each] { return command(message, each); }});
    }
    static const struct gpon_flow_cfg_data cfg = {{}, 8, 0,      0x80000000, 0x8001, 1, 0,
                                                  8,  8, 0x8000, 0x8000,     0,      {}};
    to.push_back({"configuration", nothing, [] { return plain(GPON_FLOW_CMD_CFG_DATA, &cfg); }});
    to.push_back({"clean", fill_table, [] { return plain(GPON_FLOW_CMD_CLEAN); }});
    to.push_back({"debug words", provision, [] { return debug_words({"show", "raw_data"}); }});
    to.push_back({"four debug words", provision, [] {
                      return debug_words({"clean", "raw_data", "47", "1001"});
                  }});
}

void add_lines(std::vector<operation>& to)
{
    for (const char* line : {"set enable 1",
                             "set debug_level 1",
                             "set trace dst_mac 2:0:0:0:0:1",
                             "set trace src_mac 2:0:0:0:0:1",
                             "set trace outer_vlan 100",
                             "set trace inner_vlan 100",
                             "set trace disable",
                             "set trace help",
                             "set help",
                             "show en_flag",
                             "show raw_data",
                             "show raw_data 47",
                             "show raw_data 47 1001",
                             "show flow_rule",
                             "show help",
                             "clean raw_data",
                             "clean raw_data 47",
                             "clean raw_data 47 1001",
                             "clean flow_rule",
                             "clean flow_rule 0 0",
                             "clean flow_rule 77 0",
                             "clean help",
                             "help",
                             "nonsense",
                             ""})
        to.push_back({std::string("line ") + line, fill_table, [line]() -> std::optional<long> {
                          const auto taken = gpon::host::proc_write(line);
                          return taken == static_cast<long>(std::strlen(line)) ? 0 : -1;
                      }});
    to.push_back(
        {"proc read", provision, []() -> std::optional<long> { return gpon::host::proc_read(); }});
}

void add_packets(std::vector<operation>& to)
{
    for (const u32 kind : {0u, 1u, 2u, 3u})
        for (const u16 multicast : {u16{0}, u16{1}}) {
            const auto run = [=] { return packet(kind, 1, multicast); };
            const std::string name = "packet of kind " + std::to_string(kind);
            to.push_back({name, provision, run});
            to.push_back({name + " once more",
                          [=] {
                              provision();
                              packet(kind, 1, multicast);
                          },
                          run});
            to.push_back({name + " growing the table", fill_table,
                          [=] { return packet(kind, 5000, multicast); }});
        }
    to.push_back({"switch", provision, []() -> std::optional<long> {
                      return gpon::host::hook(GPON_API_SWITCH, 1, nullptr)->api_result;
                  }});
    to.push_back({"time", fill_table, []() -> std::optional<long> {
                      gpon::host::advance(90000);
                      return 0;
                  }});
}

std::vector<operation> operations()
{
    std::vector<operation> all;
    add_commands(all);
    add_lines(all);
    add_packets(all);
    return all;
}

class systematic_faults : public testing::TestWithParam<u32> {
protected:
    ~systematic_faults() override
    {
        gpon::host::reset();
        gponDebugLevel = 0;
    }

    void load()
    {
        gpon::host::reset();
        ASSERT_EQ(gpon::host::load(), 0);
        gponDebugLevel = GetParam();
    }

    static void expect_whole(const char* when)
    {
        EXPECT_EQ(gpon::test::broken_invariant(), "") << when;
    }

    static void expect_clean_unload()
    {
        gpon::host::unload();
        gpon::host::rcu_settle();
        EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
    }

    // True when the operation met the fault.
    bool meets(const operation& tested, fault kind, uint64_t nth)
    {
        load();
        tested.prepare();
        gpon::host::arm_fault(kind, nth);
        const auto returned = tested.run();
        const bool fired = gpon::host::fault_fired(kind);
        gpon::host::disarm_faults();
        EXPECT_TRUE(returned.has_value()) << "the entry point exists";
        expect_whole("after the fault");
        if (!fired) {
            EXPECT_EQ(returned, 0) << "without a fault";
        }
        tested.run();
        expect_whole("after the same once more");
        tested.prepare();
        EXPECT_EQ(tested.run(), 0) << "after the line is made again";
        expect_clean_unload();
        return fired;
    }

    // Returns the number of faults.
    uint64_t try_each(const operation& tested, fault kind)
    {
        uint64_t nth = 1;
        while (nth < MANY && !HasFailure()) {
            SCOPED_TRACE(testing::Message() << tested.name << ", number " << nth);
            if (!meets(tested, kind, nth))
                break;
            ++nth;
        }
        EXPECT_LT(nth, MANY);
        return nth - 1;
    }

    // Returns the number of faults of all operations.
    uint64_t try_all(const char* of, fault kind)
    {
        uint64_t faults = 0;
        for (const operation& each : operations())
            faults += try_each(each, kind);
        report(of, faults);
        return faults;
    }

    void report(const char* of, uint64_t faults)
    {
        RecordProperty(of, std::to_string(faults));
        std::cout << "faults injected: " << faults << " of " << of << ", log level " << GetParam()
                  << '\n';
    }
};

TEST_P(systematic_faults, every_allocation_of_every_operation_may_fail)
{
    EXPECT_GT(try_all("allocation", fault::alloc), 400u);
}

TEST_P(systematic_faults, every_copy_from_user_space_of_every_operation_may_fail)
{
    EXPECT_GT(try_all("copy", fault::copy), 100u);
}

TEST_P(systematic_faults, every_registration_and_allocation_of_a_load_may_fail)
{
    uint64_t faults = 0;
    for (const fault kind : {fault::chrdev, fault::proc_dir, fault::proc_entry, fault::alloc,
                             fault::copy, fault::hook})
        for (uint64_t nth = 1; nth < MANY; ++nth) {
            SCOPED_TRACE(testing::Message()
                         << "kind " << static_cast<int>(kind) << " number " << nth);
            gpon::host::reset();
            gpon::host::arm_fault(kind, nth);
            const auto returned = gpon::host::load();
            const bool fired = gpon::host::fault_fired(kind);
            gpon::host::disarm_faults();
            if (!fired) {
                EXPECT_EQ(returned, 0);
                expect_clean_unload();
                break;
            }
            ++faults;
            // Without its hook the module panics, so load() returns no value.
            EXPECT_EQ(returned.has_value(), kind != fault::hook);
            if (returned) {
                expect_whole("after the load");
                packet(GPON_API_UP_ANI, 1);
                expect_whole("after a packet");
                expect_clean_unload();
                EXPECT_EQ(gpon::host::load(), 0) << "the next load";
                expect_clean_unload();
            }
            if (HasFailure())
                return;
        }
    report("load", faults);
    EXPECT_GE(faults, 5u);
}

INSTANTIATE_TEST_SUITE_P(silent, systematic_faults, testing::Values(0u));
INSTANTIATE_TEST_SUITE_P(verbose, systematic_faults, testing::Values(15u));

} // namespace
