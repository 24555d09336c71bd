// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/run.h"

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/fake_backend.h"
#include "tests/tool/parsing.h"

namespace gponflow {
namespace {

using testing::ElementsAre;

class run : public testing::Test {
protected:
    exit_status run_text(std::string_view text, bool mask_lines = false)
    {
        out.str("");
        return run_scenario(parse_good(text), fake, out, diagnostics, mask_lines);
    }

    std::string transcript_of(std::string_view text)
    {
        EXPECT_EQ(run_text(text), status_ok);
        return out.str();
    }

    fake_backend fake;
    std::ostringstream out;
    std::ostringstream diagnostics;
};

TEST_F(run, prints_the_command_the_events_and_the_result)
{
    fake.happenings = {{backend_event::kind::call, "mod_timer +30000"},
                       {backend_event::kind::log, "text without end"}};
    EXPECT_EQ(transcript_of("  load  \n"),
              "> load\n@ mod_timer +30000\n| text without end\n= load 0\n");
}

// Facts are for the tool: the module does not see them.
TEST_F(run, facts_are_no_part_of_a_transcript)
{
    fake.attribute_bytes = 0; // the attributes of class 171 are shorter than the default
    const std::string plain = transcript_of("load\nme create 171 1\nexpect ret=0\n");
    EXPECT_EQ(transcript_of("silence unreachable\nload\n"
                            "me create 171 1\ntagging 171 1 association=2 rows=default\n"
                            "tagging 78 1 upstream_mode=1\nexpect ret=0\n"),
              plain);
}

TEST_F(run, prints_result_lines_of_the_interfaces)
{
    fake.load_answer = -12;
    EXPECT_EQ(transcript_of("load"), "> load\n= load -12\n");
    EXPECT_EQ(transcript_of("unload"), "> unload\n= unload\n");
    fake.returned = -1;
    EXPECT_EQ(transcript_of("me set 45 1"), "> me set 45 1\n= me -1\n");
    EXPECT_EQ(transcript_of("config"), "> config\n= config -1\n");
    EXPECT_EQ(transcript_of("debug a"), "> debug a\n= debug -1\n");
    EXPECT_EQ(transcript_of("clean"), "> clean\n= clean -1\n");
    EXPECT_EQ(transcript_of("ioctl 1"), "> ioctl 1\n= ioctl -1\n");
    EXPECT_EQ(transcript_of("proc write x"), "> proc write x\n= proc -1\n");
    EXPECT_EQ(transcript_of("proc read"), "> proc read\n= proc -1\n");
    EXPECT_EQ(transcript_of("advance 7\nadvance 3"),
              "> advance 7\n= jiffies 7\n> advance 3\n= jiffies 10\n");
    EXPECT_EQ(transcript_of("platform queue=none\nfault alloc\necho x  y"),
              "> platform queue=none\n> fault alloc\n> echo x  y\nx y\n");
}

TEST_F(run, a_missing_interface_is_absent)
{
    fake.returned.reset();
    fake.hook_result.reset();
    EXPECT_EQ(transcript_of("me set 45 1\nproc read\nioctl 0\nhook kind=0 frame=00\n"
                            "expect ret=absent api_result=absent"),
              "> me set 45 1\n= me absent\n> proc read\n= proc absent\n> ioctl 0\n= ioctl absent\n"
              "> hook kind=0 frame=00\n= hook absent\n"
              "> expect ret=absent api_result=absent\n");
}

TEST_F(run, hook_results_show_the_packet_if_there_is_one)
{
    fake.hook_result = hook_return{2, -1, 1025, 0x100007};
    EXPECT_EQ(transcript_of("hook kind=4"), "> hook kind=4\n= hook ret=2 api_result=-1\n");
    EXPECT_EQ(transcript_of("hook kind=5 frame=0102"),
              "> hook kind=5 frame=0102\n= hook ret=2 api_result=-1 gem=1025 flags=0x100007\n");
    fake.hook_result->flags = 0;
    EXPECT_EQ(transcript_of("hook kind=0 frame="),
              "> hook kind=0 frame=\n= hook ret=2 api_result=-1 gem=1025 flags=0x0\n");
    EXPECT_THAT(fake.calls, ElementsAre("hook null", "hook 2 bytes", "hook 0 bytes"));
}

TEST_F(run, the_me_record_carries_the_command_and_points_at_the_raw_bytes)
{
    run_text("me delete 47 0x102 mask=0xb000 raw=0102030405060708");
    ASSERT_EQ(fake.records.size(), 1u);
    EXPECT_THAT(fake.calls, ElementsAre("ioctl 1073772288"));
    EXPECT_EQ(fake.records[0].cmd, 0u);
    EXPECT_EQ(fake.records[0].me.msg_type, 6);
    EXPECT_EQ(fake.records[0].me.class_id, 47);
    EXPECT_EQ(fake.records[0].me.inst_id, 0x102);
    EXPECT_EQ(fake.records[0].me.attr_mask, 0xb000);
    EXPECT_EQ(fake.attribute_data, (bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    run_text("me set 47 1 raw=null");
    EXPECT_EQ(fake.records[1].me.attr_data, 0u);
}

TEST_F(run, the_config_record_points_at_the_configuration_or_at_nothing)
{
    run_text("config raw=" + std::string(80, '7'));
    EXPECT_EQ(fake.records[0].cmd, 1u);
    EXPECT_EQ(fake.configuration, bytes(40, 0x77));
    run_text("config null");
    EXPECT_EQ(fake.records[1].cfg_data, 0u);
}

TEST_F(run, the_debug_record_points_at_32_byte_words_and_at_nothing_for_absent_ones)
{
    run_text("debug set " + std::string(32, 'x'));
    EXPECT_EQ(fake.records[0].cmd, 2u);
    EXPECT_EQ(fake.words[0], std::string("set") + std::string(29, '\0'));
    EXPECT_EQ(fake.words[1], std::string(32, 'x'));
    EXPECT_EQ(fake.records[0].args[2], 0u);
    EXPECT_EQ(fake.records[0].args[3], 0u);
}

TEST_F(run, clean_and_other_ioctls_reach_the_device)
{
    run_text("clean\nioctl 0x40007700 cmd=9\nioctl 5");
    EXPECT_EQ(fake.records[0].cmd, 3u);
    EXPECT_EQ(fake.records[1].cmd, 9u);
    EXPECT_EQ(fake.records[1].me.attr_data, 0u);
    EXPECT_THAT(fake.calls, ElementsAre("ioctl 1073772288", "ioctl 1073772288", "ioctl 5 null"));
}

TEST_F(run, platform_and_fault_commands_reach_the_platform)
{
    run_text("platform mapping=-1 queue=none\nplatform queue=3\nfault copy=2");
    EXPECT_THAT(fake.calls, ElementsAre("mapping -1", "queue none", "queue 3", "fault 5 2"));
}

TEST_F(run, expectations_compare_with_the_last_result_by_value)
{
    fake.hook_result = hook_return{2, 0, 1025, 0x10};
    EXPECT_EQ(run_text("hook kind=0 frame=00\n"
                       "expect ret=0x2 api_result=0 gem=1025 flags=16\n"
                       "platform queue=0\nexpect flags=0x10"),
              status_ok);
    fake.returned = -14;
    EXPECT_EQ(run_text("ioctl 0\nexpect ret=-14"), status_ok);
}

TEST_F(run, failed_expectations_are_reported_and_do_not_stop_the_run)
{
    fake.hook_result = hook_return{2, 1, 7, 0};
    EXPECT_EQ(run_text("hook kind=0\nexpect api_result=0 ret=3 gem=7\nunload\nexpect ret=0"),
              status_failed);
    EXPECT_EQ(out.str(), "> hook kind=0\n= hook ret=2 api_result=1\n"
                         "> expect api_result=0 ret=3 gem=7\n"
                         "! expected api_result=0, got 1\n"
                         "! expected ret=3, got 2\n"
                         "! expected gem=7, got nothing\n"
                         "> unload\n= unload\n"
                         "> expect ret=0\n"
                         "! expected ret=0, got nothing\n");
    EXPECT_EQ(diagnostics.str(), "");
}

TEST_F(run, an_absent_interface_equals_no_number_and_a_number_is_not_absent)
{
    EXPECT_EQ(run_text("proc read\nexpect ret=absent"), status_failed);
    EXPECT_EQ(out.str(), "> proc read\n= proc 0\n> expect ret=absent\n"
                         "! expected ret=absent, got 0\n");
    fake.returned.reset();
    EXPECT_EQ(run_text("proc read\nexpect ret=0"), status_failed);
    EXPECT_EQ(out.str(), "> proc read\n= proc absent\n> expect ret=0\n"
                         "! expected ret=0, got absent\n");
}

TEST_F(run, a_refusal_stops_the_run_and_names_the_line)
{
    fake.refuse = "the module is already loaded";
    EXPECT_EQ(run_text("\nload\nunload\n"), status_unsupported);
    EXPECT_EQ(out.str(), "> load\n");
    EXPECT_EQ(diagnostics.str(), "test.scn:2: the module is already loaded\n");
    EXPECT_EQ(fake.calls.size(), 1u);
}

TEST_F(run, a_panic_ends_the_run_without_a_result)
{
    fake.load_answer.reset();
    fake.happenings = {{backend_event::kind::call, "panic it is over"}};
    EXPECT_EQ(run_text("load\nproc read\n"), status_ok);
    EXPECT_EQ(out.str(), "> load\n@ panic it is over\n");
    EXPECT_EQ(fake.calls.size(), 1u);
}

TEST_F(run, every_frame_of_a_capture_is_one_hook_call)
{
    scenario parsed = parse_good("pcap x kind=3 gem=5\nexpect frames=3 ok=3 failed=0");
    std::get<pcap_command>(parsed.lines[0].command).frames = {
        captured_frame({1}), captured_frame(bytes{}), captured_frame({1, 2})};
    fake.hook_result = hook_return{2, 0, 5, 0};
    EXPECT_EQ(run_scenario(parsed, fake, out, diagnostics, false), status_ok);
    EXPECT_EQ(out.str(), "> pcap x kind=3 gem=5\n"
                         "= hook ret=2 api_result=0 gem=5 flags=0x0\n"
                         "= hook ret=2 api_result=0 gem=5 flags=0x0\n"
                         "= hook ret=2 api_result=0 gem=5 flags=0x0\n"
                         "= pcap frames=3 ok=3 failed=0\n"
                         "> expect frames=3 ok=3 failed=0\n");
    EXPECT_THAT(fake.calls, ElementsAre("hook 1 bytes", "hook 0 bytes", "hook 2 bytes"));
    for (const packet_options& packet : fake.packets)
        EXPECT_EQ(packet.gem, 5);
}

TEST_F(run, frames_that_fail_or_find_no_hook_count_as_failed)
{
    scenario parsed = parse_good("pcap x kind=3");
    std::get<pcap_command>(parsed.lines[0].command).frames = {captured_frame({1})};
    fake.hook_result = hook_return{2, 1, 0, 0};
    EXPECT_EQ(run_scenario(parsed, fake, out, diagnostics, false), status_ok);
    EXPECT_THAT(out.str(), testing::EndsWith("= pcap frames=1 ok=0 failed=1\n"));
    fake.hook_result.reset();
    EXPECT_EQ(run_scenario(parsed, fake, out, diagnostics, false), status_ok);
    EXPECT_THAT(out.str(), testing::EndsWith("= hook absent\n= pcap frames=1 ok=0 failed=1\n"));
}

TEST_F(run, masks_line_numbers_in_log_text)
{
    fake.happenings = {{backend_event::kind::log, "***TRACE***"},
                       {backend_event::kind::log, "[f][123]: Enter\n"}};
    run_text("proc read", true);
    EXPECT_EQ(out.str(), "> proc read\n| ***TRACE***[f][0]: Enter\n= proc 0\n");
}

} // namespace
} // namespace gponflow
