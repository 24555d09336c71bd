// SPDX-License-Identifier: GPL-2.0-only
// usage: fuzz_seeds OUT SCENARIO...
//
// Writes the commands, packets and proc lines of each scenario to OUT/commands, OUT/frames and
// OUT/proc, as inputs of the fuzzers with these names.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "fuzz/step.h"
#include "tool/scenario/open.h"

using namespace gponflow;
namespace fs = std::filesystem;

namespace {

struct seeds {
    bytes commands = {1};
    bytes frames = {0};
    std::string proc;
};

void append(bytes& to, const bytes& more)
{
    to.insert(to.end(), more.begin(), more.end());
}

void add_packet(seeds& to, const hook_command& packet)
{
    to.frames.push_back(0); // no MAC header in front of the frame
    append(to.frames, fuzz::bytes_of_packet(packet));
}

void add_line(seeds& to, std::string text)
{
    std::ranges::replace(text, '\n', ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    to.proc += text + '\n';
}

void add(seeds& to, const scenario_line& line)
{
    if (const auto step = fuzz::bytes_of(line.command))
        append(to.commands, *step);
    if (const auto* hook = std::get_if<hook_command>(&line.command); hook && hook->frame)
        add_packet(to, *hook);
    if (const auto* pcap = std::get_if<pcap_command>(&line.command))
        for (const captured_frame& frame : pcap->frames)
            add_packet(to, {pcap->options, frame.data});
    if (const auto* proc = std::get_if<proc_write_command>(&line.command))
        add_line(to, proc->text);
}

void write(const fs::path& file, const char* data, size_t size)
{
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary);
    out.write(data, static_cast<std::streamsize>(size));
    if (!out.flush())
        throw std::runtime_error("cannot write " + file.string());
}

void write(const fs::path& file, const bytes& content)
{
    if (content.size() > 2)
        write(file, reinterpret_cast<const char*>(content.data()), content.size());
}

void write_seeds(const fs::path& out, const std::string& file)
{
    const auto parsed = open_scenario(file, std::cerr);
    if (!parsed)
        throw std::runtime_error(file + " is not understood");
    seeds all;
    for (const scenario_line& line : parsed->lines)
        add(all, line);
    const std::string name = fs::path(file).stem().string();
    write(out / "commands" / name, all.commands);
    write(out / "frames" / name, all.frames);
    if (!all.proc.empty())
        write(out / "proc" / name, all.proc.data(), all.proc.size());
}

} // namespace

int main(int argc, char** argv)
{
    try {
        for (int i = 2; i < argc; ++i)
            write_seeds(argv[1], argv[i]);
    } catch (const std::exception& error) {
        std::cerr << "fuzz_seeds: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
