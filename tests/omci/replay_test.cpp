// SPDX-License-Identifier: GPL-2.0-only
// A converted bring-up runs on its own and forwards frames as the line did.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tests/omci/line_builder.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/parse.h"
#include "tool/scenario/run.h"

namespace gponflow::omci::test {
namespace {

using testing::HasSubstr;
using testing::Not;

// One UNI, one bridge, two services: VLAN 100 in GEM port 1001, VLAN 200 in GEM port 1002.
line two_services()
{
    line session;
    session.done(mib_reset, 2, 0);
    session.done(create, 45, 1, "00 01 01 8000 1400 0200 0f00 00 00 00000000");
    session.done(create, 47, 1, "0001 01 01 0101");
    session.done(set, 262, 0x8000, "8000 03e8");
    for (const std::string id : {"1", "2"}) {
        const auto number = static_cast<uint16_t>(std::stoi(id));
        const uint16_t port = number + 1; // bridge port 1 is the UNI
        const std::string iw = "000" + id;
        session.done(create, 268, number, (id == "1" ? "03e9" : "03ea") + std::string(" 8000 03"));
        session.done(create, 130, number, "ffff ffff ffff ffff ffff ffff ffff ffff ffff 01 00 00");
        session.done(create, 47, port, "0001 02 03 " + iw);
        session.done(create, 266, number, iw + " 05 " + iw);
        session.done(create, 84, port, id == "1" ? "0064" : "00c8");
        session.done(set, 84, port, "6000 10 01");
        std::string pointers = "7f80";
        for (int priority = 0; priority < 8; ++priority)
            pointers += iw;
        session.done(set, 130, number, pointers);
    }
    return session;
}

std::string upstream_frame(std::string_view vlan)
{
    return "hook kind=up_ani port=1 frame=0200000000aa0200000000bb8100" + std::string(vlan) +
           "0800" + std::string(92, '0') + "\n";
}

exit_status replay(const std::string& scenario, std::ostream& transcript)
{
    const parse_result parsed = parse_scenario(scenario, "converted");
    if (!parsed.errors.empty())
        return status_invalid;
    std::ostringstream diagnostics;
    const auto host = make_host_backend();
    return run_scenario(parsed.input, *host, transcript, diagnostics, true);
}

TEST(omci_replay, frames_of_each_service_leave_by_its_gem_port)
{
    const std::string scenario = two_services().converted().scenario + upstream_frame("0064") +
                                 "expect api_result=0 gem=1001\n" + upstream_frame("00c8") +
                                 "expect api_result=0 gem=1002\n" + upstream_frame("012c") +
                                 "expect api_result=1\n";
    std::ostringstream transcript;
    EXPECT_EQ(replay(scenario, transcript), status_ok) << transcript.str();
    EXPECT_THAT(transcript.str(), Not(HasSubstr("= me -1")));
}

TEST(omci_replay, service_is_gone_after_its_delete)
{
    line session = two_services();
    session.done(delete_me, 47, 2).done(delete_me, 268, 1);
    std::ostringstream transcript;
    EXPECT_EQ(replay(session.converted().scenario + upstream_frame("0064") +
                         "expect api_result=1\n" + upstream_frame("00c8") +
                         "expect api_result=0 gem=1002\n",
                     transcript),
              status_ok)
        << transcript.str();
}

TEST(omci_replay, second_bring_up_starts_clean)
{
    line session = two_services();
    session.done(mib_reset, 2, 0);
    std::ostringstream transcript;
    EXPECT_EQ(
        replay(session.converted().scenario + upstream_frame("0064") + "expect api_result=1\n",
               transcript),
        status_ok)
        << transcript.str();
}

} // namespace
} // namespace gponflow::omci::test
