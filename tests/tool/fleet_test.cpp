// SPDX-License-Identifier: GPL-2.0-only
#include "tool/fleet/fleet.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/scratch_folder.h"

namespace gponflow {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

class fleet : public testing::Test {
protected:
    // As many existing files as named.
    std::vector<std::string> files(const std::vector<std::string>& names)
    {
        std::vector<std::string> paths;
        for (const std::string& name : names)
            paths.push_back(folder_.write(name, name));
        return paths;
    }

    std::vector<json> run(const std::vector<std::string>& names, const line_job& job)
    {
        input_list inputs = input_list::open(names, {});
        std::ostringstream out;
        status_ = run_fleet(order_, inputs, job, out);
        std::vector<json> lines;
        std::istringstream text(out.str());
        for (std::string line; std::getline(text, line);)
            lines.push_back(json::parse(line));
        return lines;
    }

    static std::vector<int> statuses(const std::vector<json>& lines)
    {
        std::vector<int> all;
        for (const json& line : lines)
            all.push_back(line["status"]);
        return all;
    }

    scratch_folder folder_;
    fleet_order order_{"check", 2, 0s};
    int status_ = -1;
};

line_result named(const std::string& input)
{
    return {status_ok, nullptr, {{"file", input}}};
}

bool ends_with(const std::string& input, const std::string& end)
{
    return input.ends_with(end);
}

TEST_F(fleet, lines_have_the_order_of_the_inputs)
{
    const auto inputs = files({"slow", "b", "c", "d", "e"});
    const auto lines = run(inputs, [](const std::string& input) {
        if (ends_with(input, "slow"))
            std::this_thread::sleep_for(200ms);
        return named(input);
    });
    ASSERT_EQ(lines.size(), inputs.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i]["input"], inputs[i]);
        EXPECT_EQ(lines[i]["document"]["file"], inputs[i]);
    }
    EXPECT_EQ(status_, 0);
}

TEST_F(fleet, failing_input_leaves_the_others_as_they_are)
{
    const auto lines =
        run(files({"a", "throws", "killed", "exits", "b"}), [](const std::string& input) {
            if (ends_with(input, "throws"))
                throw std::runtime_error("cannot be used");
            if (ends_with(input, "killed"))
                std::raise(SIGKILL);
            if (ends_with(input, "exits"))
                std::_Exit(7);
            return named(input);
        });
    EXPECT_THAT(statuses(lines), ElementsAre(0, 2, 3, 3, 0));
    EXPECT_THAT(lines[1]["messages"][0]["message"], HasSubstr("throws: cannot be used"));
    EXPECT_THAT(lines[2]["messages"][0]["message"], HasSubstr("ended by signal 9"));
    EXPECT_THAT(lines[3]["messages"][0]["message"], HasSubstr("ended with status 7"));
    EXPECT_TRUE(lines[3]["document"].is_null());
    EXPECT_EQ(status_, 3);
}

TEST_F(fleet, every_input_starts_with_the_state_of_the_caller)
{
    int calls = 0;
    order_.jobs = 1;
    const auto lines = run(files({"a", "b", "c"}), [&calls](const std::string&) {
        return line_result{status_ok, nullptr, {{"calls", ++calls}}};
    });
    for (const json& line : lines)
        EXPECT_EQ(line["document"]["calls"], 1);
    EXPECT_EQ(calls, 0);
}

TEST_F(fleet, messages_of_an_input_are_in_its_line)
{
    const auto lines = run(files({"a", "b"}), [](const std::string& input) {
        if (ends_with(input, "b"))
            std::cerr << "b:3: column 2: wrong\nb: warning: odd\n";
        return named(input);
    });
    EXPECT_TRUE(lines[0]["messages"].empty());
    ASSERT_EQ(lines[1]["messages"].size(), 2u);
    EXPECT_EQ(lines[1]["messages"][0]["line"], 3);
    EXPECT_EQ(lines[1]["messages"][1]["severity"], "warning");
}

TEST_F(fleet, input_that_takes_too_long_is_given_up)
{
    order_.limit = 1s;
    const auto lines = run(files({"a", "endless", "b"}), [](const std::string& input) {
        while (ends_with(input, "endless"))
            std::this_thread::sleep_for(1h);
        return named(input);
    });
    EXPECT_THAT(statuses(lines), ElementsAre(0, 3, 0));
    EXPECT_THAT(lines[1]["messages"][0]["message"], HasSubstr("not finished after 1 second"));
}

TEST_F(fleet, large_documents_are_complete)
{
    const std::string text(3000000, 'x');
    const auto lines = run(files({"a", "b", "c"}), [&text](const std::string&) {
        return line_result{status_ok, nullptr, {{"text", text}}};
    });
    ASSERT_EQ(lines.size(), 3u);
    for (const json& line : lines)
        EXPECT_EQ(line["document"]["text"], text);
}

// A line that cannot be printed yet is kept: few are, however many inputs there are.
TEST_F(fleet, few_finished_lines_wait_for_a_slow_input)
{
    std::vector<std::string> names = {"slow"};
    for (int i = 0; i < 100; ++i)
        names.push_back("f" + std::to_string(i));
    const std::string log = folder_.write("log", "");
    const auto lines = run(files(names), [&log](const std::string& input) {
        if (ends_with(input, "slow")) {
            std::this_thread::sleep_for(500ms);
            return line_result{status_ok, nullptr, {{"others", std::filesystem::file_size(log)}}};
        }
        std::ofstream(log, std::ios::app) << 'x';
        return named(input);
    });
    ASSERT_EQ(lines.size(), names.size());
    EXPECT_GT(lines[0]["document"]["others"], 0);
    EXPECT_LT(lines[0]["document"]["others"], 2 * 8);
}

TEST_F(fleet, unwritable_output_ends_the_run)
{
    input_list inputs = input_list::open(files({"a", "b", "c", "d", "e", "f", "g", "h"}), {});
    std::ofstream out("/dev/full");
    EXPECT_EQ(run_fleet(order_, inputs, named, out), status_unsupported);
    EXPECT_TRUE(inputs.next().has_value()); // the last ones were not started
}

TEST_F(fleet, list_follows_the_names_of_the_command_line)
{
    const std::string list = folder_.write("list", "b\n\nc d\n");
    input_list inputs = input_list::open({"a"}, list);
    EXPECT_EQ(inputs.total(), 3u);
    EXPECT_EQ(inputs.next(), "a");
    EXPECT_EQ(inputs.next(), "b");
    EXPECT_EQ(inputs.next(), "c d");
    EXPECT_EQ(inputs.next(), std::nullopt);
    EXPECT_THROW(static_cast<void>(input_list::open({}, list + ".missing")), std::runtime_error);
    EXPECT_THROW(static_cast<void>(input_list::open({}, "/")), std::runtime_error);
}

} // namespace
} // namespace gponflow
