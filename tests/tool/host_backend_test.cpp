// SPDX-License-Identifier: GPL-2.0-only
// Scenarios against the module in this process.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/parsing.h"
#include "tool/live/backends.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/run.h"

namespace gponflow {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class host_run : public testing::Test {
protected:
    exit_status run_text(std::string_view text)
    {
        const auto host = make_host_backend();
        out.str("");
        return run_scenario(parse_good(text), *host, out, diagnostics, true);
    }

    std::string transcript_of(std::string_view text)
    {
        EXPECT_EQ(run_text(text), status_ok) << out.str() << diagnostics.str();
        return out.str();
    }

    std::ostringstream out;
    std::ostringstream diagnostics;
};

TEST_F(host_run, every_run_starts_with_a_fresh_platform)
{
    const std::string first = transcript_of("advance 100\nload\nfault copy\nplatform queue=none");
    EXPECT_THAT(first, HasSubstr("= jiffies 100\n"));
    const std::string second = transcript_of("advance 0\nload\nclean\nexpect ret=0");
    EXPECT_THAT(second, HasSubstr("= jiffies 0\n"));
    EXPECT_THAT(second, HasSubstr("= load 0\n"));
}

TEST_F(host_run, interfaces_are_absent_before_load_and_after_unload)
{
    const std::string_view interfaces =
        "hook kind=0\nexpect ret=absent\nme set 45 1\nexpect ret=absent\n"
        "proc write x\nexpect ret=absent\nproc read\nexpect ret=absent\n";
    transcript_of(std::string(interfaces) + "load\nunload\n" + std::string(interfaces));
}

TEST_F(host_run, each_fault_hits_its_service)
{
    EXPECT_THAT(transcript_of("fault chrdev\nload"), HasSubstr("gpon_flow = -16\n"));
    EXPECT_THAT(transcript_of("fault proc_dir\nload"), HasSubstr("proc_mkdir gpon_flow = fail\n"));
    EXPECT_THAT(transcript_of("fault proc_entry\nload"),
                HasSubstr("create_proc_entry debug mode=0 parent=gpon_flow = fail\n"));
    EXPECT_THAT(transcript_of("fault hook\nload\nproc read"),
                EndsWith("@ panic Register hook function failed! gpon_flow_init:360\n"));
    transcript_of("load\nfault alloc\nme create 45 1\nexpect ret=-1\nme create 45 1\nexpect ret=0");
    transcript_of("load\nfault copy=2\nclean\nexpect ret=0\nclean\nexpect ret=-1\nclean\n"
                  "expect ret=0");
}

TEST_F(host_run, a_second_load_and_an_unload_without_load_are_refused)
{
    EXPECT_EQ(run_text("unload"), status_unsupported);
    EXPECT_EQ(run_text("load\nload"), status_unsupported);
    EXPECT_EQ(run_text("fault proc_dir\nload\nload"), status_unsupported);
    EXPECT_EQ(diagnostics.str(), "test.scn:1: the module is not loaded\n"
                                 "test.scn:2: the module is already loaded\n"
                                 "test.scn:3: the module is already loaded\n");
    EXPECT_EQ(run_text("fault proc_dir\nload\nunload\nload\nexpect ret=0"), status_ok);
}

TEST_F(host_run, packet_fields_reach_the_module)
{
    constexpr std::string_view text = R"(
load
hook kind=switch param=1
me create PPTP_ETHERNET_UNI 0x103
me create MAC_BRIDGE_SERVICE_PROFILE 1
me create MAC_BRIDGE_PORT_CON_DATA 1 bridgeID=1 tpType=1 tpPointer=0x103
hook kind=up_uni port=3 flags=7 gem=9 frame=ffffffffffff0202020202020800
expect ret=2 api_result=0 gem=9 flags=7
hook kind=up_uni port=2 frame=ffffffffffff0202020202030800
expect api_result=1
debug show flow_rule
)";
    EXPECT_THAT(transcript_of(text), HasSubstr("Trace:CLASS(INST)->11(0x103)->47(0x1)"));
}

TEST_F(host_run, the_platform_functions_return_the_value_set)
{
    const std::string text = transcript_of("load\nplatform mapping=-1\nhook kind=1 frame=00\n"
                                           "expect api_result=1\nplatform mapping=none\n"
                                           "hook kind=1 frame=00\nexpect api_result=0");
    EXPECT_THAT(text, HasSubstr("@ gpon_mapping_hook = -1\n"));
    EXPECT_THAT(text, Not(HasSubstr("@ gpon_mapping_hook = 0\n")));
}

TEST(backends, unknown_names_are_refused)
{
    EXPECT_THROW(make_backend("Host"), refusal);
    EXPECT_THROW(make_backend(""), refusal);
}

} // namespace
} // namespace gponflow
