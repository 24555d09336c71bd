// SPDX-License-Identifier: GPL-2.0-only
/* The commands of the tool that run the frames of a capture. */
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

/* The size of a line and of its captures. The frames belong to the same few services on every line,
 * so that the cases show how the cost grows with the line and with the captures alone. */
struct line_size {
    unsigned bridges; // ten ports each
    uint32_t frames;
};
constexpr line_size sizes[] = {{5, 10000}, {10, 10000}, {50, 10000}, {5, 100000}};

/* One operation is a frame of the captures. */
class command_on_a_line : public work {
public:
    explicit command_on_a_line(line_size size)
        : frames_(size.frames), line_(test::generated_scenario({.bridges = size.bridges,
                                                                .services = 9,
                                                                .frames = size.frames,
                                                                .stations = 2,
                                                                .foreign = 20,
                                                                .seed = 1,
                                                                .busy = 18}))
    {
    }

    uint32_t operations() const override { return frames_; }

private:
    const uint32_t frames_;

protected:
    const scenario line_;
    std::ostringstream diagnostics_;
};

struct account_case final : command_on_a_line {
    using command_on_a_line::command_on_a_line;

    void pass() override
    {
        frame_account account;
        keep(account_scenario(line_, *make_host_backend(), account, diagnostics_));
    }
};

struct explain_case final : command_on_a_line {
    using command_on_a_line::command_on_a_line;

    void pass() override
    {
        const auto& capture = std::get<pcap_command>(line_.lines.back().command);
        const explained_frame last{capture.options, capture.frames.back()};
        keep(explain_frame(line_, *make_host_backend(), last, diagnostics_));
    }
};

struct report_case final : command_on_a_line {
    using command_on_a_line::command_on_a_line;

    void pass() override
    {
        report_data data;
        keep(collect_report(line_, *make_host_backend(), data, diagnostics_));
        keep(report_page(data));
    }
};

template <typename Work> void add_sizes(case_list& cases, const std::string& command)
{
    for (const line_size size : sizes) {
        bench_case made =
            make_case<Work>("tool/" + command + "/" + std::to_string(10 * size.bridges) +
                                "_ports/" + std::to_string(size.frames) + "_frames",
                            size);
        made.resets = true;
        made.counted = false; // texts of the tool change more often than its cost
        cases.push_back(std::move(made));
    }
}

} // namespace

void add_tool_cases(case_list& cases)
{
    add_sizes<account_case>(cases, "account");
    add_sizes<explain_case>(cases, "explain");
    add_sizes<report_case>(cases, "report");
}

} // namespace gpon::bench
