// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/convert_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

#include "tests/omci/line_builder.h"

namespace gponflow::omci::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class omci_command : public testing::Test {
protected:
    omci_command()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "omci.XXXXXX").string();
        folder = mkdtemp(pattern.data());
    }

    ~omci_command() override { std::filesystem::remove_all(folder); }

    std::string path(std::string_view name) const { return (folder / name).string(); }

    std::string write(std::string_view name, const bytes& contents) const
    {
        std::ofstream file(path(name), std::ios::binary);
        file.write(reinterpret_cast<const char*>(contents.data()),
                   static_cast<std::streamsize>(contents.size()));
        return path(name);
    }

    static std::string read(const std::string& name)
    {
        std::ostringstream text;
        text << std::ifstream(name).rdbuf();
        return text.str();
    }

    int run(const conversion_files& options)
    {
        out.str({});
        err.str({});
        return convert_file(options, out, err);
    }

    std::filesystem::path folder;
    std::ostringstream out;
    std::ostringstream err;
};

TEST_F(omci_command, writes_the_scenario_to_a_file)
{
    line session;
    session.done(mib_reset, 2, 0);
    const std::string input = write("bring-up.pcap", pcap_file(session.frames));
    EXPECT_EQ(run({input, path("line.scn"), {}}), 0);
    EXPECT_THAT(out.str(), IsEmpty());
    EXPECT_THAT(err.str(), IsEmpty());
    const std::string scenario = read(path("line.scn"));
    EXPECT_THAT(scenario, StartsWith("# OMCI bring-up from bring-up.pcap, 2 frames, ONU "
                                     "02:00:00:00:00:02\n"));
    EXPECT_THAT(command_lines(scenario), ElementsAre("load", "hook kind=switch param=1", "clean"));
}

TEST_F(omci_command, writes_to_standard_output_by_default)
{
    line session;
    session.done(mib_reset, 2, 0);
    EXPECT_EQ(run({write("a.pcap", pcap_file(session.frames)), "-", {}}), 0);
    EXPECT_THAT(out.str(), HasSubstr("\nclean\n"));
}

TEST_F(omci_command, remarks_name_file_and_frame)
{
    line session;
    session.replied(create, 266, 5, "0009", "07");
    session.from_olt(bytes(20, 0));
    const std::string input = write("a.pcap", pcap_file(session.frames));
    EXPECT_EQ(run({input, "-", {}}), 1);
    EXPECT_THAT(err.str(), HasSubstr("warning: no command of the OLT and no instance of it"));
    EXPECT_THAT(err.str(), HasSubstr(input + ": warning: frame 1: refused by the ONU: create GEM "
                                             "interworking TP 0x0005: instance exists\n"));
    EXPECT_THAT(err.str(),
                HasSubstr(input + ": warning: frame 3: skipped: device identifier 0x00"));
}

TEST_F(omci_command, capture_that_ends_early_is_converted_with_status_1)
{
    line session;
    session.done(mib_reset, 2, 0);
    bytes file = pcap_file(session.frames);
    file.pop_back();
    EXPECT_EQ(run({write("a.pcap", file), "-", {}}), 1);
    EXPECT_THAT(out.str(), HasSubstr("\nclean\n"));
    EXPECT_THAT(err.str(), HasSubstr("ends early, frame 2: "));
}

TEST_F(omci_command, unusable_inputs_are_status_2_and_write_nothing)
{
    const std::string target = path("line.scn");
    EXPECT_EQ(run({path("absent.pcap"), target, {}}), 2);
    EXPECT_EQ(err.str(), path("absent.pcap") + ": No such file or directory\n");
    EXPECT_EQ(run({write("text.pcap", bytes(100, 'x')), target, {}}), 2);
    EXPECT_EQ(run({write("none.pcap", pcap_file({bytes(60, 0)})), target, {}}), 2);
    EXPECT_EQ(run({folder.string(), target, {}}), 2);
    EXPECT_FALSE(std::filesystem::exists(target));
}

TEST_F(omci_command, scenario_never_overwrites_its_capture)
{
    line session;
    session.done(mib_reset, 2, 0);
    const bytes file = pcap_file(session.frames);
    const std::string input = write("a.pcap", file);
    std::filesystem::create_symlink(input, path("b.pcap"));
    EXPECT_EQ(run({input, path("b.pcap"), {}}), 2);
    EXPECT_EQ(read(input), std::string(file.begin(), file.end()));
}

TEST_F(omci_command, scenario_that_cannot_be_written_is_an_error)
{
    line session;
    session.done(mib_reset, 2, 0);
    const std::string target = path("absent/line.scn");
    EXPECT_EQ(run({write("a.pcap", pcap_file(session.frames)), target, {}}), 2);
    EXPECT_EQ(err.str(), target + ": cannot be written\n");
}

TEST_F(omci_command, one_of_several_onus_is_chosen_by_address)
{
    const mac_address second{0x02, 0, 0, 0, 0, 0x03};
    line session;
    session.done(mib_reset, 2, 0);
    session.frames.push_back(
        ethernet(olt, second, baseline(1, request_bit, set, 262, 0x8000, "8000 0001")));
    const std::string input = write("a.pcap", pcap_file(session.frames));
    EXPECT_EQ(run({input, "-", {}}), 2);
    EXPECT_THAT(err.str(), HasSubstr("choose one of them with --onu"));
    EXPECT_EQ(run({input, "-", "02:00:00:00:00:03"}), 0);
    EXPECT_THAT(command_lines(out.str()).back(), StartsWith("me set T_CONT"));
    EXPECT_EQ(run({input, "-", "second"}), 2);
    EXPECT_THAT(err.str(), StartsWith("second: not a MAC address"));
}

} // namespace
} // namespace gponflow::omci::test
