// SPDX-License-Identifier: GPL-2.0-only
// Writes the captures of the cookbook: usage: cookbook_captures FOLDER, in the root of the tree.
#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/omci/line_builder.h"
#include "tool/omci/frame.h"
#include "tool/scenario/captures.h"

namespace {

using namespace gponflow::omci;
using namespace gponflow::omci::test;

void set_up_onu(line& to)
{
    to.done(mib_reset, 2, 0);
    to.done(set, 11, 0x0101, "0800 00"); // both UNIs unlocked
    to.done(set, 11, 0x0102, "0800 00");
    to.done(set, 262, 0x8000, "8000 0400");
    to.done(set, 262, 0x8001, "8000 0401");
}

// UNI 1: untagged frames and VLAN 100, low and high priorities apart.
void add_internet(line& to)
{
    to.done(create, 45, 1, "00 01 01 8000 1400 0200 0f00 00 ff 0000012c");
    to.done(create, 47, 0x0101, "0001 01 01 0101 0000 0001 00 00 00 00");
    to.done(create, 268, 1, "0401 8000 03 0000 0000 0000 0000 00"); // GEM port 1025
    to.done(create, 268, 2, "0402 8000 03 0000 0000 0000 0000 00"); // 1026
    to.done(create, 130, 1, "ffff ffff ffff ffff ffff ffff ffff ffff ffff 01 00 00");
    to.done(create, 266, 0x11, "0001 05 0001 0000 0001");
    to.done(create, 266, 0x12, "0002 05 0001 0000 0001");
    to.done(set, 130, 1, "7f80 0011 0011 0011 0011 0012 0012 0012 0012");
    to.done(create, 47, 0x1001, "0001 02 03 0001 0000 0001 00 00 00 00");
    to.done(create, 84, 0x1001, "0064" + std::string(44, '0') + "0f 01");
}

// UNI 2: VLAN 300. The OLT intends to pass the VLAN, but forward operation 0x14 compares the whole
// tag with the priority.
void add_telephone(line& to)
{
    to.done(create, 45, 2, "00 01 01 8000 1400 0200 0f00 00 ff 0000012c");
    to.done(create, 47, 0x0201, "0002 01 01 0102 0000 0001 00 00 00 00");
    to.done(create, 268, 3, "041a 8001 03 0000 0000 0000 0000 00"); // GEM port 1050
    to.done(create, 266, 0x21, "0003 05 0002 0000 0001");
    to.done(create, 47, 0x2001, "0002 02 05 0021 0000 0001 00 00 00 00");
    to.done(create, 84, 0x2001, "a12c" + std::string(44, '0') + "14 01");
}

bytes bring_up()
{
    line session;
    set_up_onu(session);
    add_internet(session);
    add_telephone(session);
    return pcap_file(session.frames);
}

// Of a recorded call, what never reached the other side: VLAN 300 with priority 6.
bytes lost_frames()
{
    constexpr std::array<uint8_t, 4> tag = {0x81, 0x00, 0xc1, 0x2c};
    std::vector<bytes> lost;
    for (const auto& frame : gponflow::read_capture("captures/upstream-uni2.pcap").frames)
        if (frame.data.size() >= 16 && std::equal(tag.begin(), tag.end(), frame.data.begin() + 12))
            lost.push_back(frame.data);
    return pcap_file(lost);
}

void write(const std::filesystem::path& file, const bytes& content)
{
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<const char*>(content.data()),
              static_cast<std::streamsize>(content.size()));
    if (!out.flush())
        throw std::runtime_error(file.string() + ": cannot be written");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: cookbook_captures FOLDER\n", stderr);
        return 2;
    }
    try {
        write(std::filesystem::path(argv[1]) / "bring-up.pcap", bring_up());
        write(std::filesystem::path(argv[1]) / "lost.pcap", lost_frames());
    } catch (const std::exception& why) {
        std::fprintf(stderr, "cookbook_captures: %s\n", why.what());
        return 1;
    }
    return 0;
}
