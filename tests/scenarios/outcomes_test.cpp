// SPDX-License-Identifier: GPL-2.0-only
// Every scenario prints the same whether known frames use a remembered outcome or replay their
// rule: as written, and amplified. Amplified means that no message is on, that each frame is padded
// and sent three times (walk, replay, remembered outcome), and that after every command that may
// change the store or the rules the last frames are sent again and the rules are dumped.
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <sstream>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include "platform/host/host.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/open.h"
#include "tool/scenario/run.h"

namespace gponflow {
namespace {

std::vector<std::string> scenario_files()
{
    std::vector<std::string> files;
    for (const char* folder : {"scenarios", "tests/scenarios"})
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
            if (entry.path().extension() == ".scn")
                files.push_back(entry.path().string());
    std::ranges::sort(files);
    return files;
}

struct outcome_of_run {
    std::string transcript;
    uint64_t allocations;
};

outcome_of_run run_with(bool remembered, const scenario& what)
{
    gpon::host::set_remembered_outcomes(remembered);
    std::ostringstream out, diagnostics;
    const auto target = make_host_backend();
    std::ignore = run_scenario(what, *target, out, diagnostics, true);
    gpon::host::set_remembered_outcomes(true);
    EXPECT_EQ(diagnostics.str(), "") << what.name;
    return {out.str(), gpon::host::memory().allocations};
}

class amplifier {
public:
    scenario amplify(const scenario& from)
    {
        scenario to{from.name, {}};
        for (scenario_line line : from.lines) {
            if (is_left_out(line))
                continue;
            pad(line);
            to.lines.push_back(line);
            if (brings_frames(line)) {
                to.lines.insert(to.lines.end(), 2, line);
                remember(line);
            } else if (may_change_something(line)) {
                to.lines.insert(to.lines.end(), frames_.begin(), frames_.end());
                to.lines.insert(to.lines.end(), frames_.begin(), frames_.end());
                to.lines.push_back(
                    {line.line, "debug show flow_rule", debug_command{{"show", "flow_rule"}}});
            }
        }
        return to;
    }

private:
    static constexpr size_t frames_kept = 12;

    static bool asks_for(const scenario_line& line, std::string_view words)
    {
        return line.text.find(words) != std::string::npos;
    }

    // Messages prevent the use of a remembered outcome, expectations are about frames that are sent
    // once, and a frame that allocates nothing has no fault.
    static bool is_left_out(const scenario_line& line)
    {
        return std::holds_alternative<expect_command>(line.command) ||
               std::holds_alternative<fault_command>(line.command) || asks_for(line, "debug_level");
    }

    // Bytes that are not there read as 0, but a frame without them has no remembered outcome.
    static void pad(scenario_line& line)
    {
        constexpr size_t shortest = 60;
        auto* hook = std::get_if<hook_command>(&line.command);
        if (hook && hook->frame && hook->frame->size() < shortest)
            hook->frame->resize(shortest);
    }

    static bool brings_frames(const scenario_line& line)
    {
        if (const auto* hook = std::get_if<hook_command>(&line.command))
            return hook->frame.has_value();
        return std::holds_alternative<pcap_command>(line.command);
    }

    static bool may_change_something(const scenario_line& line)
    {
        return std::holds_alternative<me_command>(line.command) ||
               std::holds_alternative<clean_command>(line.command) ||
               std::holds_alternative<advance_command>(line.command) ||
               std::holds_alternative<platform_command>(line.command) || asks_for(line, "clean");
    }

    void remember(const scenario_line& line)
    {
        if (std::ranges::any_of(frames_, [&](const auto& kept) { return kept.text == line.text; }))
            return;
        frames_.push_back(line);
        if (frames_.size() > frames_kept)
            frames_.pop_front();
    }

    std::deque<scenario_line> frames_;
};

// Counts the scenarios in which remembered outcomes saved allocations.
template <typename Change> int compare_all(Change change)
{
    int saved = 0;
    for (const std::string& file : scenario_files()) {
        std::ostringstream diagnostics;
        const std::optional<scenario> parsed = open_scenario(file, diagnostics);
        if (!parsed) {
            ADD_FAILURE() << file << ": " << diagnostics.str();
            continue;
        }
        const scenario what = change(*parsed);
        const outcome_of_run replayed = run_with(false, what);
        const outcome_of_run remembered = run_with(true, what);
        EXPECT_EQ(remembered.transcript, replayed.transcript) << file;
        saved += remembered.allocations < replayed.allocations;
    }
    return saved;
}

TEST(remembered_outcomes, print_what_replays_print)
{
    EXPECT_GT(compare_all([](const scenario& as_it_is) { return as_it_is; }), 0);
}

TEST(remembered_outcomes, print_what_replays_print_when_each_frame_comes_again)
{
    EXPECT_GT(compare_all([](const scenario& from) { return amplifier().amplify(from); }), 20);
}

} // namespace
} // namespace gponflow
