// SPDX-License-Identifier: GPL-2.0-only
// Every scenario prints the same whether known frames use a remembered outcome or replay their
// rule, and counts the same: a frame that uses an outcome in one run replays in the other one, and
// nothing else differs. The scenarios run as written, with padded frames, and amplified.
//
// Padded: bytes that are not there read as 0, but a frame without them has no remembered outcome.
// With these bytes a scenario prints the same, and its frames can have one.
//
// Amplified: no message is on, each frame is padded and sent three times (walk, replay, remembered
// outcome), and after every command that may change the store or the rules the last frames are sent
// again and the rules are dumped.
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <map>
#include <set>
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

// The counters hold the time since the last load.
struct outcome_of_run {
    std::string transcript;
    uint64_t replayed = 0;
    uint64_t remembered = 0;                   // frames that used an outcome
    uint64_t written = 0;                      // to the outcome table
    std::map<std::string_view, uint64_t> rest; // all other counters
};

void add_counter(outcome_of_run& to, const gpon::host::counter& one)
{
    if (one.name == "replays")
        to.replayed += one.value;
    else if (one.name.starts_with("remembered_"))
        to.remembered += one.value;
    else if (one.name.starts_with("outcomes_"))
        to.written += one.value;
    else
        to.rest[one.name] = one.value;
}

outcome_of_run run_with(bool remembered, const scenario& input)
{
    gpon::host::set_remembered_outcomes(remembered);
    std::ostringstream out, diagnostics;
    const auto target = make_host_backend();
    std::ignore = run_scenario(input, *target, out, diagnostics, true);
    gpon::host::set_remembered_outcomes(true);
    EXPECT_EQ(diagnostics.str(), "") << input.name;
    outcome_of_run result;
    result.transcript = out.str();
    for (const gpon::host::counter& one : gpon::host::counters())
        add_counter(result, one);
    return result;
}

// Adds the bytes that a frame lacks.
void pad_to(size_t bytes, scenario_line& line)
{
    auto* hook = std::get_if<hook_command>(&line.command);
    if (hook && hook->frame && hook->frame->size() < bytes)
        hook->frame->resize(bytes);
}

// A frame that is long enough for an outcome keeps its length.
scenario with_padded_frames(scenario input)
{
    constexpr size_t shortest_with_outcome = 22;
    for (scenario_line& line : input.lines)
        if (const auto* hook = std::get_if<hook_command>(&line.command);
            hook && hook->frame && hook->frame->size() < shortest_with_outcome)
            pad_to(64, line);
    return input;
}

class amplifier {
public:
    scenario amplify(const scenario& from)
    {
        scenario to{from.name, {}};
        for (scenario_line line : from.lines) {
            if (is_left_out(line))
                continue;
            pad_to(60, line);
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

struct compared {
    outcome_of_run replayed, remembered;
};

// Runs the scenario both ways.
compared compare(const scenario& input)
{
    const compared both = {run_with(false, input), run_with(true, input)};
    EXPECT_EQ(both.remembered.transcript, both.replayed.transcript) << input.name;
    EXPECT_EQ(both.remembered.rest, both.replayed.rest) << input.name;
    EXPECT_EQ(both.remembered.replayed + both.remembered.remembered, both.replayed.replayed)
        << input.name;
    EXPECT_EQ(both.replayed.remembered + both.replayed.written, 0u) << input.name;
    return both;
}

template <typename Compare> void for_each_scenario(Compare compare_one)
{
    for (const std::string& file : scenario_files()) {
        std::ostringstream diagnostics;
        const std::optional<scenario> parsed = open_scenario(file, diagnostics);
        if (!parsed) {
            ADD_FAILURE() << file << ": " << diagnostics.str();
            continue;
        }
        compare_one(file, *parsed);
    }
}

// Frames that used an outcome, in the scenarios of which this is known.
using known_numbers = std::map<std::string, uint64_t>;

void expect_numbers(const known_numbers& found, const known_numbers& wanted)
{
    for (const auto& [file, number] : wanted) {
        const auto at = found.find(file);
        ASSERT_NE(at, found.end()) << file << " is not there";
        EXPECT_EQ(at->second, number) << file;
    }
}

TEST(remembered_outcomes, print_what_replays_print)
{
    known_numbers found;
    for_each_scenario([&](const std::string& file, const scenario& input) {
        found[file] = compare(input).remembered.remembered;
    });
    expect_numbers(found, {{"scenarios/demo.scn", 506}});
}

TEST(remembered_outcomes, print_what_replays_of_padded_frames_print)
{
    known_numbers found;
    for_each_scenario([&](const std::string& file, const scenario& input) {
        const compared both = compare(with_padded_frames(input));
        EXPECT_EQ(both.replayed.transcript, run_with(false, input).transcript) << file;
        found[file] = both.remembered.remembered;
    });
    expect_numbers(found, {{"scenarios/demo.scn", 506},
                           {"tests/scenarios/header/short-frames.scn", 20},
                           {"tests/scenarios/rules/every-command-deletes-them.scn", 1}});
}

// The frames of these scenarios are replayed each time.
const std::set<std::string> never_remembered = {
    // more than two tags
    "tests/scenarios/header/a-hundred-tags.scn",
    "tests/scenarios/rule-dump/with-three-tags.scn",
    "tests/scenarios/rule-dump/with-four-tags.scn",
    "tests/scenarios/rule-dump/with-five-tags.scn",
    "tests/scenarios/rule-dump/with-six-tags.scn",
    // the trace filter selects them
    "tests/scenarios/hook/trace-mark-ends-with-the-call.scn",
};

TEST(remembered_outcomes, print_what_replays_print_when_each_frame_comes_again)
{
    int saved = 0;
    for_each_scenario([&](const std::string& file, const scenario& input) {
        const compared both = compare(amplifier().amplify(input));
        const bool expected = both.replayed.replayed != 0 && !never_remembered.contains(file);
        EXPECT_EQ(both.remembered.remembered != 0, expected) << file;
        saved += expected;
    });
    EXPECT_GE(saved, 54);
}

} // namespace
} // namespace gponflow
