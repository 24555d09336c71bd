// SPDX-License-Identifier: GPL-2.0-only
// Trace events: the sequence of each kind of frame, of learning, commands and sweeps.
#include "tests/unit/class_fixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <utility>

#include "hash/aging.h"
#include "hash/rule_table.h"
#include "pkt/walk.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr u32 PORT_1_WORD = 1 << 4;

template <typename... Parts> std::string join(const Parts&... parts)
{
    std::ostringstream out;
    ((out << parts), ...);
    return out.str();
}

std::string text_of(const decltype(gpon_trace_record::step)& step)
{
    constexpr std::array<const char*, 8> decisions = {
        "", " pass", " drop", " misplaced", " selected", " refused", " other side", " unreadable"};
    return join(+step.depth, " ", step.class_id, "/", step.inst_id, " ", +step.status,
                decisions.at(step.decision));
}

std::string text_of(const gpon_trace_record& record)
{
    const gpon_traced_frame& frame = record.frame;
    switch (record.point) {
    case GPON_TRACEPOINT_WALK_START:
        return join("start direction=", frame.direction);
    case GPON_TRACEPOINT_WALK_STEP:
        return "step " + text_of(record.step);
    case GPON_TRACEPOINT_REPLAY_STEP:
        return "replay " + text_of(record.step);
    case GPON_TRACEPOINT_WALK_END:
        return join("end ", +record.end, " gem=", record.gemport_id);
    case GPON_TRACEPOINT_RULE_HIT:
        return join("hit remembered=", +record.remembered, " gem=", record.gemport_id);
    case GPON_TRACEPOINT_RULE_LEARN:
        return join("learn ", +record.learnt);
    case GPON_TRACEPOINT_DROP:
        return join("drop ", +record.end, " direction=", frame.direction,
                    " gem=", record.gemport_id);
    case GPON_TRACEPOINT_COMMAND:
        return join("command ", +record.command.kind, " type=", +record.command.msg_type, " ",
                    record.command.class_id, "/", record.command.inst_id,
                    " mask=", record.command.attr_mask, " result=", record.command.result, " '",
                    record.command.text, "'");
    case GPON_TRACEPOINT_SWEEP:
        return join("sweep rules=", record.sweep.rules, " aged=", record.sweep.aged,
                    " buckets=", record.sweep.buckets);
    case GPON_TRACEPOINTS:
        break;
    }
    return "unknown";
}

class tracepoints : public class_fixture {
protected:
    tracepoints()
    {
        gpon::host::hook(GPON_API_SWITCH, 1, nullptr);
        skb.port_word = PORT_1_WORD;
        gpon::host::set_tracer([this](const gpon_trace_record& record) {
            records.push_back(record);
            events.push_back(text_of(record));
        });
    }

    ~tracepoints() override { gpon::host::set_tracer(nullptr); }

    // The events since the last call.
    std::vector<std::string> seen()
    {
        records.clear();
        return std::exchange(events, {});
    }

    int send(uint32_t kind) { return gpon::host::hook(kind, 0, &skb)->api_result; }

    // Bridge, port, GEM interworking TP and GEM port 5, with a filter of one VLAN or without.
    static void create_ani(bool filter)
    {
        gpon::test::create_bridge(7);
        gpon_raw_gemctp ctp = {};
        ctp.instID = 1;
        ctp.portID = 5;
        ctp.direction = 3;
        create(me_class::gemctp, ctp);
        create_gem_iw(1);
        create_port(6, 5, 1);
        if (filter)
            create(me_class::vtfd, gpon_raw_vtfd{.instID = 6,
                                                 .vlanFilterList = {0, 100},
                                                 .forwardOperation = 0x10,
                                                 .vlanFilterNums = 1});
    }

    std::vector<gpon_trace_record> records;
    std::vector<std::string> events;
};

TEST_F(tracepoints, report_a_walk_that_passes_a_replay_and_a_remembered_outcome)
{
    create_ani(false);
    seen();
    EXPECT_EQ(send(GPON_API_UP_ANI), 0);
    EXPECT_THAT(seen(), ElementsAre("start direction=1", "step 1 45/7 2", "step 2 47/6 2",
                                    "step 3 266/1 2", "step 4 268/1 3", "end 0 gem=5", "learn 0"));
    EXPECT_EQ(send(GPON_API_UP_ANI), 0);
    EXPECT_THAT(seen(), ElementsAre("replay 1 45/7 2", "replay 2 47/6 2", "replay 3 266/1 2",
                                    "replay 4 268/1 3", "hit remembered=0 gem=5"));
    EXPECT_EQ(send(GPON_API_UP_ANI), 0);
    EXPECT_THAT(seen(), ElementsAre("hit remembered=1 gem=5"));
}

TEST_F(tracepoints, do_not_change_how_a_frame_is_classified)
{
    const auto remembered = [] { return gpon::host::counter_value("remembered_up_ani"); };
    create_ani(false);
    for (int i = 0; i < 3; ++i)
        send(GPON_API_UP_ANI);
    EXPECT_EQ(remembered(), 1u);
    gpon::host::set_tracer(nullptr);
    send(GPON_API_UP_ANI);
    EXPECT_EQ(remembered(), 2u);
}

TEST_F(tracepoints, without_a_tracer_nothing_is_reported)
{
    gpon::host::set_tracer(nullptr);
    create_ani(false);
    send(GPON_API_UP_ANI);
    send(GPON_API_UP_UNI);
    gpon::host::advance(GPON_HASH_AGING_PERIOD);
    EXPECT_EQ(tracepoints_on, 0u);
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(tracepoints, name_the_fields_of_the_rule_key)
{
    frame = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 0x88, 0xa8, 0x30, 5, 0x81, 0, 0, 7, 0x91, 0, 0, 9};
    send(GPON_API_DOWN_UNI);
    ASSERT_EQ(records.size(), 3u);
    for (const gpon_trace_record& record : records) {
        const gpon_traced_frame& traced = record.frame;
        EXPECT_THAT(traced.dst_mac, ElementsAre(2, 0, 0, 0, 0, 1));
        EXPECT_THAT(traced.src_mac, ElementsAre(2, 0, 0, 0, 0, 2));
        EXPECT_EQ(traced.direction, DOWN_UNI);
        EXPECT_EQ(traced.tags, 3u);
        EXPECT_THAT(traced.tag, ElementsAre(0x88a83005, 0x81000007));
        EXPECT_EQ(traced.packet, record.point == GPON_TRACEPOINT_RULE_LEARN ? nullptr : &skb);
    }
}

TEST_F(tracepoints, report_a_frame_that_is_cut_off)
{
    frame = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 0x81, 0, 0x30};
    skb.bytes = 15;
    send(GPON_API_DOWN_UNI);
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records[0].frame.tags, 1u);
    EXPECT_THAT(records[0].frame.tag, ElementsAre(0x81003000, 0));
}

TEST_F(tracepoints, report_a_walk_without_a_path)
{
    create(me_class::pptp, gpon_raw_pptp{.instID = 0x101});
    seen();
    EXPECT_EQ(send(GPON_API_UP_UNI), 1);
    const std::vector<std::string> found = seen();
    ASSERT_GE(found.size(), 3u);
    EXPECT_EQ(found.front(), "start direction=2");
    EXPECT_THAT(found, Contains("step 1 11/257 2"));
    EXPECT_EQ(found[found.size() - 2], "end 1 gem=0");
    EXPECT_EQ(found.back(), "drop 1 direction=2 gem=0");
}

TEST_F(tracepoints, report_a_filtered_walk)
{
    create_ani(true);
    seen();
    EXPECT_EQ(send(GPON_API_UP_ANI), 1);
    EXPECT_THAT(seen(), ElementsAre("start direction=1", "step 1 45/7 2", "step 2 47/6 1 drop",
                                    "end 2 gem=0", "drop 2 direction=1 gem=0"));
}

TEST_F(tracepoints, name_the_decision_of_a_filter_on_both_sides)
{
    create_ani(true);
    create(me_class::pptp, gpon_raw_pptp{.instID = 0x101});
    create_port(9, 1, 0x101);
    create_filter(9);
    frame = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 0x81, 0, 0x20, 0, 8, 0};
    seen();
    EXPECT_EQ(send(GPON_API_UP_ANI), 0);
    EXPECT_THAT(seen(), ElementsAre("start direction=1", "step 1 45/7 2", "step 2 47/6 2 pass",
                                    "step 3 266/1 2", "step 4 268/1 3", "end 0 gem=5", "learn 0"));
    EXPECT_EQ(send(GPON_API_UP_ANI), 0);
    EXPECT_THAT(seen(), ElementsAre("replay 1 45/7 2", "replay 2 47/6 2 pass", "replay 3 266/1 2",
                                    "replay 4 268/1 3", "hit remembered=0 gem=5"));
    EXPECT_EQ(send(GPON_API_UP_UNI), 1);
    EXPECT_THAT(seen(), Contains("step 2 47/9 1 misplaced"));
}

TEST_F(tracepoints, name_a_port_on_the_other_side)
{
    create_ani(false);
    create(me_class::pptp, gpon_raw_pptp{.instID = 0x101});
    create_port(3, 1, 0x101);
    seen();
    EXPECT_EQ(send(GPON_API_UP_ANI), 0);
    EXPECT_THAT(seen(), Contains("step 2 47/6 2"));
    gpon::test::create_bridge(8);
    const gpon_fwd_info step = {me_class::mbpcd, 3, UP_ANI};
    const gpon::rcu_reader reader;
    EXPECT_EQ(gpon_pkt_general_forward(&skb, &step, &result), 0);
    EXPECT_THAT(seen(), Contains("step 1 47/3 1 other side"));
}

TEST_F(tracepoints, name_the_decision_of_a_mapper)
{
    create_ani(false);
    gpon_raw_mapper mapper = {};
    mapper.instID = 2;
    mapper.pbit_GemIWTP[3] = 1;
    create(me_class::mapper, mapper);
    seen();
    const gpon_fwd_info step = {me_class::gemiw, 1, UP_ANI};
    const gpon::rcu_reader reader;
    for (const u8 priority : {u8{2}, u8{3}}) {
        result = {};
        frame = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 0x81, 0, static_cast<u8>(priority << 5), 7};
        skb.data = frame.data();
        skb.bytes = static_cast<u32>(frame.size());
        EXPECT_EQ(gpon_pkt_general_forward(&skb, &step, &result), 0);
    }
    EXPECT_THAT(seen(), testing::AllOf(Contains("step 1 266/1 1 refused"),
                                       Contains("step 1 266/1 2 selected")));
}

TEST_F(tracepoints, report_a_mapper_that_is_gone)
{
    create_ani(false);
    gpon_raw_mapper mapper = {};
    mapper.instID = 2;
    mapper.pbit_GemIWTP[3] = 1;
    create(me_class::mapper, mapper);
    gpon::host::proc_write("clean raw_data 130 2");
    seen();
    EXPECT_EQ(send(GPON_API_UP_ANI), 1);
    EXPECT_THAT(seen(), ElementsAre("start direction=1", "step 1 45/7 2", "step 2 47/6 2",
                                    "step 3 266/1 1 unreadable", "end 3 gem=0",
                                    "drop 3 direction=1 gem=0"));
}

TEST_F(tracepoints, report_a_filter_that_is_gone)
{
    create_ani(true);
    gpon::host::proc_write("clean raw_data 84 6");
    seen();
    EXPECT_EQ(send(GPON_API_UP_ANI), 1);
    EXPECT_THAT(seen(),
                ElementsAre("start direction=1", "step 1 45/7 2", "step 2 47/6 1 unreadable",
                            "end 3 gem=0", "drop 3 direction=1 gem=0"));
}

TEST_F(tracepoints, report_a_replay_whose_filter_is_gone)
{
    create_ani(true);
    frame = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 0x81, 0, 0x20, 0, 8, 0};
    EXPECT_EQ(send(GPON_API_UP_ANI), 0);
    gpon::host::proc_write("clean raw_data 84 6");
    seen();
    EXPECT_EQ(send(GPON_API_UP_ANI), 0);
    EXPECT_THAT(seen(), Contains("replay 2 47/6 1 unreadable"));
}

TEST_F(tracepoints, distinguish_marked_frames_from_others)
{
    create_ani(false);
    gpon::host::proc_write("set trace dst_mac 02:00:00:00:00:01");
    seen();
    for (const u8 last : {u8{1}, u8{9}}) {
        frame = {2, 0, 0, 0, 0, last, 2, 0, 0, 0, 0, 2, 8, 0};
        for (const uint32_t kind : {GPON_API_UP_ANI, GPON_API_UP_ANI, GPON_API_UP_UNI})
            send(kind);
        ASSERT_FALSE(records.empty());
        for (const gpon_trace_record& record : records) {
            const bool may_be_marked = record.point != GPON_TRACEPOINT_RULE_LEARN;
            EXPECT_EQ(record.marked, may_be_marked && last == 1) << text_of(record);
        }
        seen();
    }
}

TEST_F(tracepoints, report_a_step_that_fails_for_lack_of_memory)
{
    create_ani(true);
    std::map<std::string, unsigned> steps;
    for (uint64_t nth = 1;; ++nth) {
        seen();
        gpon::host::arm_fault(gpon::host::fault::alloc, nth);
        EXPECT_EQ(send(GPON_API_UP_ANI), 1);
        if (!gpon::host::fault_fired(gpon::host::fault::alloc))
            break;
        const std::vector<std::string> found = seen();
        EXPECT_EQ(found.back(), "drop 3 direction=1 gem=0") << "allocation " << nth;
        EXPECT_EQ(found[found.size() - 2], "end 3 gem=0") << "allocation " << nth;
        ++steps[found[found.size() - 3]];
    }
    EXPECT_GT(steps["start direction=1"], 0u) << "no memory for the bridges";
    EXPECT_GT(steps["step 2 47/6 0"], 0u) << "no memory for the step";
    EXPECT_GT(steps["step 2 47/6 1 unreadable"], 0u) << "no memory for the filter";
}

TEST_F(tracepoints, report_a_step_at_the_depth_limit)
{
    const gpon_fwd_info step = {me_class::mbsp, 7, UP_ANI};
    const gpon::rcu_reader reader;
    result.recurse_num = 9;
    EXPECT_EQ(gpon_pkt_general_forward(&skb, &step, &result), -1);
    EXPECT_THAT(seen(), ElementsAre("step 10 45/7 4"));
}

TEST_F(tracepoints, report_a_step_of_a_class_that_forwards_nothing)
{
    const gpon_fwd_info step = {me_class::vtfd, 7, UP_ANI};
    const gpon::rcu_reader reader;
    EXPECT_EQ(gpon_pkt_general_forward(&skb, &step, &result), -1);
    EXPECT_THAT(seen(), ElementsAre("step 1 84/7 0"));
}

TEST_F(tracepoints, report_a_frame_without_queue)
{
    create_ani(false);
    gpon::host::set_queue_mapping(-1);
    seen();
    EXPECT_EQ(send(GPON_API_UP_ANI), 1);
    const std::vector<std::string> found = seen();
    EXPECT_THAT(found, Contains("learn 0"));
    EXPECT_EQ(found.back(), "drop 5 direction=1 gem=5");
    EXPECT_EQ(send(GPON_API_UP_ANI), 1);
    const std::vector<std::string> again = seen();
    EXPECT_THAT(again, Contains("hit remembered=0 gem=5"));
    EXPECT_EQ(again.back(), "drop 5 direction=1 gem=5");
}

TEST_F(tracepoints, report_calls_that_are_not_walked)
{
    gpon::host::hook(GPON_API_UP_UNI, 0, nullptr);
    gpon::host::hook(9, 0, nullptr);
    EXPECT_THAT(seen(), ElementsAre("drop 8 direction=2 gem=0", "drop 8 direction=0 gem=0"));
    EXPECT_EQ(send(9), -1);
    EXPECT_THAT(seen(), ElementsAre("drop 9 direction=0 gem=0"));
    gpon::host::hook(GPON_API_SWITCH, 0, nullptr);
    gpon::host::set_mapping(-1);
    EXPECT_EQ(send(GPON_API_UP_ANI), 1);
    EXPECT_EQ(send(GPON_API_UP_UNI), 0);
    EXPECT_THAT(seen(), ElementsAre("drop 6 direction=1 gem=0"));
}

TEST_F(tracepoints, report_whether_steps_are_learnt)
{
    gpon_rule_trace trace = {};
    gpon_hash_add_node_safe(frame.data(), 16, &trace);
    gpon_hash_add_node_safe(frame.data(), 16, &trace);
    trace.step[0].classId = me_class::mbsp;
    gpon_hash_add_node_safe(frame.data(), 16, &trace);
    gpon_hash_add_node_safe(frame.data(), 16, &trace, 1);
    gpon::host::arm_fault(gpon::host::fault::alloc);
    const std::array<u8, 16> other = {1};
    gpon_hash_add_node_safe(other.data(), other.size(), &trace);
    EXPECT_THAT(seen(), ElementsAre("learn 0", "learn 5", "learn 1", "learn 3", "learn 4"));
    const uint64_t taken = gpon::host::counter_value("rules_bucket_taken");
    for (u8 i = 0; i < 60; ++i) {
        const std::array<u8, 16> key = {3, i};
        gpon_hash_add_node_safe(key.data(), key.size(), &trace);
    }
    const std::vector<std::string> found = seen();
    EXPECT_EQ(static_cast<uint64_t>(std::count(found.begin(), found.end(), "learn 2")),
              gpon::host::counter_value("rules_bucket_taken") - taken);
    EXPECT_THAT(found, Contains("learn 2"));
}

TEST_F(tracepoints, report_sweeps)
{
    send(GPON_API_DOWN_UNI);
    seen();
    for (int i = 0; i < 3; ++i)
        gpon::host::advance(GPON_HASH_AGING_PERIOD);
    EXPECT_THAT(seen(),
                ElementsAre("sweep rules=1 aged=0 buckets=64", "sweep rules=1 aged=1 buckets=64",
                            "sweep rules=0 aged=0 buckets=64"));
}

TEST_F(tracepoints, report_commands)
{
    gpon_raw_mbsp raw = {};
    gpon_flow_cmd record = {};
    const auto control = [&record] {
        gpon::host::ioctl(GPON_FLOW_IOC_COMMAND, reinterpret_cast<uint64_t>(&record));
    };
    record.me = gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp, 7, &raw);
    control();
    record.me.class_id = 1;
    control();
    record.cmd = GPON_FLOW_CMD_CLEAN;
    control();
    gpon_flow_cfg_data config = {};
    record.cmd = GPON_FLOW_CMD_CFG_DATA;
    record.cfg_data = reinterpret_cast<uint64_t>(&config);
    control();
    record.cmd = 77;
    control();
    gpon::host::ioctl(1, 0);
    gpon::host::ioctl(GPON_FLOW_IOC_COMMAND + 1, 0);
    gpon::host::ioctl(GLOBAL_GPON_IOC_MAGIC << 8, 0);
    const std::string mask = std::to_string(record.me.attr_mask);
    EXPECT_THAT(seen(), ElementsAre("command 0 type=4 45/7 mask=" + mask + " result=0 ''",
                                    "command 0 type=4 1/7 mask=" + mask + " result=-1 ''",
                                    "command 2 type=0 0/0 mask=0 result=0 ''",
                                    "command 1 type=0 0/0 mask=0 result=0 ''",
                                    "command 5 type=0 0/0 mask=0 result=-1 ''",
                                    "command 5 type=0 0/0 mask=0 result=-25 ''",
                                    "command 5 type=0 0/0 mask=0 result=-25 ''",
                                    "command 5 type=0 0/0 mask=0 result=-14 ''"));
}

TEST_F(tracepoints, report_debug_words_from_device_and_proc_file)
{
    const std::array<std::array<char, GPON_FLOW_DEBUG_WORD_BYTES>, 4> words = {
        {{"show"}, {"enable"}, {}, {"0123456789012345678901234567890"}}};
    gpon_flow_cmd record = {};
    record.cmd = GPON_FLOW_CMD_DEBUG;
    for (size_t i = 0; i < words.size(); ++i)
        record.args[i] = reinterpret_cast<uint64_t>(words[i].data());
    gpon::host::ioctl(GPON_FLOW_IOC_COMMAND, reinterpret_cast<uint64_t>(&record));
    gpon::host::proc_write("show  enable\n");
    gpon::host::proc_write("\n");
    gpon::host::proc_write(std::string(200, 'x'));
    const std::string all_words(31, 'y');
    gpon::host::proc_write(all_words + " " + all_words + " " + all_words + " " + all_words);
    EXPECT_THAT(seen(), ElementsAre("command 3 type=0 0/0 mask=0 result=0 'show enable  "
                                    "0123456789012345678901234567890'",
                                    "command 4 type=0 0/0 mask=0 result=13 'show enable'",
                                    "command 4 type=0 0/0 mask=0 result=1 ''",
                                    "command 5 type=0 0/0 mask=0 result=-22 ''",
                                    "command 4 type=0 0/0 mask=0 result=127 '" + all_words + " " +
                                        all_words + " " + all_words + " " + all_words + "'"));
}

// The captures of the pattern in the text.
std::set<std::string> captures(const std::string& text, const char* pattern)
{
    const std::regex found(pattern);
    std::set<std::string> all;
    for (std::sregex_iterator at(text.begin(), text.end(), found), end; at != end; ++at)
        all.insert((*at)[1]);
    return all;
}

std::string contents_of(const std::filesystem::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(tracepoints, are_all_documented_with_their_fields)
{
    const std::string header = contents_of("src/platform/linux/gpon_flow_trace.h");
    const std::string page = contents_of("docs/observability.md");
    const auto events_of_header =
        captures(header, R"((?:TRACE_EVENT_FN\(|DEFINE_EVENT_FN\(\w+, )(\w+),)");
    EXPECT_EQ(events_of_header.size(), static_cast<size_t>(GPON_TRACEPOINTS));
    for (const std::string& event : events_of_header)
        EXPECT_NE(page.find("\n| `" + event + "` |"), std::string::npos) << event;
    const auto fields = captures(
        header, R"(__(?:field|array|string)\([^()]*?(\w+)(?:, ETH_ALEN|, record[^()]*)?\))");
    EXPECT_THAT(fields, testing::IsSupersetOf({"skbaddr", "dst", "outer_tag", "text", "buckets"}));
    for (const std::string& field : fields)
        EXPECT_TRUE(std::regex_search(page, std::regex("\n\\| [^|]*`" + field + "`"))) << field;
    for (const std::string& name : captures(header, R"re(\{ \w+, "(\w+)" \})re"))
        EXPECT_NE(page.find("`" + name + "`"), std::string::npos) << name;
}

TEST_F(tracepoints, include_those_of_the_example_scripts_with_their_fields)
{
    const std::string header = contents_of("src/platform/linux/gpon_flow_trace.h");
    u32 scripts = 0;
    for (const auto& file : std::filesystem::directory_iterator("docs/bpftrace")) {
        const std::string script = contents_of(file.path());
        const auto used = captures(script, R"(tracepoint:gpon_flow:(\w+))");
        EXPECT_FALSE(used.empty()) << file.path();
        for (const std::string& event : used)
            EXPECT_NE(header.find(event + ","), std::string::npos) << event;
        for (const std::string& field : captures(script, R"(args->(\w+))"))
            EXPECT_NE(header.find(", " + field), std::string::npos) << field;
        ++scripts;
    }
    EXPECT_EQ(scripts, 4u);
}

} // namespace
