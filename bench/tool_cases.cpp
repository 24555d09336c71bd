// SPDX-License-Identifier: GPL-2.0-only
/* The commands of the tool that run the frames of a capture, on a line of 50 bridge ports. */
#include <sstream>

#include "bench/cases.h"
#include "tests/support/generated_line.h"
#include "tool/explain/account.h"
#include "tool/explain/explain_frame.h"
#include "tool/report/page.h"
#include "tool/scenario/host_backend.h"

namespace gpon::bench {
namespace {

using namespace gponflow;

/* One operation is a frame of the captures. */
class command_on_a_line : public work {
public:
    command_on_a_line()
        : line_(test::generated_scenario({.bridges = 5,
                                          .services = 9,
                                          .frames = frames,
                                          .stations = 2,
                                          .foreign = 20,
                                          .seed = 1}))
    {
    }

    uint32_t operations() const override { return frames; }

protected:
    static constexpr uint32_t frames = 10000;
    const scenario line_;
    std::ostringstream diagnostics_;
};

struct account_case final : command_on_a_line {
    void pass() override
    {
        frame_account account;
        keep(account_scenario(line_, *make_host_backend(), account, diagnostics_));
    }
};

struct explain_case final : command_on_a_line {
    void pass() override
    {
        exit_status status = status_ok;
        const auto& capture = std::get<pcap_command>(line_.lines.back().command);
        const explained_frame last{capture.options, capture.frames.back()};
        keep(explain_frame(line_, *make_host_backend(), last, diagnostics_, status));
    }
};

struct report_case final : command_on_a_line {
    void pass() override
    {
        report_data data;
        keep(collect_report(line_, *make_host_backend(), data, diagnostics_));
        keep(report_page(data));
    }
};

template <typename Work> bench_case tool_case(const std::string& name)
{
    bench_case made = make_case<Work>("tool/" + name + "/50_ports");
    made.resets = true;
    made.counted = false; // texts of the tool change more often than its cost
    return made;
}

} // namespace

void add_tool_cases(case_list& cases)
{
    cases.push_back(tool_case<account_case>("account"));
    cases.push_back(tool_case<explain_case>("explain"));
    cases.push_back(tool_case<report_case>("report"));
}

} // namespace gpon::bench
