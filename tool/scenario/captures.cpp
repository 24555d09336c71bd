// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/captures.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

#include "tool/text/message_words.h"

namespace gponflow {

namespace {

// A name in a scenario is that of a file: "-" is no standard input, and a pipe is not waited for.
std::string regular_file(const std::filesystem::path& file)
{
    std::error_code error;
    const bool regular = std::filesystem::is_regular_file(file, error);
    if (!error && !regular)
        throw std::runtime_error("not a regular file");
    return file == "-" ? "./-" : file.string();
}

} // namespace

ethernet_capture read_capture(const std::string& file, size_t most)
{
    capture_file from = capture_file::open(file);
    return read_ethernet(from, most);
}

std::vector<std::string> fill_capture(pcap_command& command, const std::string& file,
                                      scenario& owner)
{
    capture_file from = capture_file::open(file);
    ethernet_capture capture = read_ethernet(from);
    if (capture.frames.empty())
        capture.warnings.emplace_back("no Ethernet frame in it");
    owner.incomplete = owner.incomplete || capture.frames.empty() || !from.cut_short().empty();
    // The outcomes count cut frames, also those of a hook command.
    const std::string cut = cut_text(capture.cut, capture.frames.size());
    for (const std::string& text : capture.warnings)
        if (text != cut)
            owner.notes.push_back(capture_title(file) + ": " + text);
    command.frames = std::move(capture.frames);
    return std::move(capture.warnings);
}

capture_diagnostics read_captures(scenario& into)
{
    capture_diagnostics result;
    const std::filesystem::path folder = std::filesystem::path(into.name).parent_path();
    for (scenario_line& line : into.lines) {
        auto* pcap = std::get_if<pcap_command>(&line.command);
        if (!pcap)
            continue;
        const std::string name = in_quotes(pcap->file) + ": ";
        try {
            for (const std::string& text :
                 fill_capture(*pcap, regular_file(folder / pcap->file), into))
                result.warnings.push_back(
                    {into.name, line.line, 0, "warning: capture " + name + text});
        } catch (const std::runtime_error& error) {
            result.errors.push_back(
                {into.name, line.line, 0, "cannot read the capture " + name + error.what()});
        }
    }
    return result;
}

} // namespace gponflow
