// SPDX-License-Identifier: GPL-2.0-only
// Writes a generated line and its traffic: usage: generate_line FOLDER [BRIDGES SERVICES FRAMES
// SEED]. FOLDER/line.scn includes the captures beside it.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/omci/line_builder.h"
#include "tests/support/generated_line.h"

namespace {

using namespace gponflow;

template <typename content> void write(const std::filesystem::path& file, const content& written)
{
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<const char*>(written.data()),
              static_cast<std::streamsize>(written.size()));
    if (!out.flush())
        throw std::runtime_error(file.string() + ": cannot be written");
}

std::string pcap_text(const test::generated_traffic& traffic)
{
    constexpr std::array<const char*, 4> kinds = {"up_uni port=1", "up_ani", "down_uni",
                                                  "down_ani gem="};
    std::string text = "pcap " + traffic.file + " kind=" + kinds.at(traffic.options.kind);
    if (traffic.options.kind == 3)
        text += std::to_string(traffic.options.gem);
    return text + '\n';
}

void write_line(const std::filesystem::path& folder, const test::line_shape& shape)
{
    std::filesystem::create_directories(folder);
    std::string text = test::line_text(shape);
    for (const test::generated_traffic& traffic : test::line_traffic(shape)) {
        write(folder / traffic.file, omci::test::pcap_file(traffic.frames));
        text += pcap_text(traffic);
    }
    write(folder / "line.scn", text);
}

unsigned number(const char* text)
{
    return static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 6) {
        std::fputs("usage: generate_line FOLDER [BRIDGES SERVICES FRAMES SEED]\n", stderr);
        return 2;
    }
    test::line_shape shape;
    unsigned* const fields[] = {&shape.bridges, &shape.services, &shape.frames, &shape.seed};
    for (int i = 2; i < argc; ++i)
        *fields[i - 2] = number(argv[i]);
    try {
        write_line(argv[1], shape);
    } catch (const std::exception& why) {
        std::fprintf(stderr, "generate_line: %s\n", why.what());
        return 1;
    }
    return 0;
}
