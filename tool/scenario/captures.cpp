// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/captures.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>

#include <pcap/pcap.h>

#include "tool/text/message_words.h"
#include "tool/text/progress.h"

namespace gponflow {

namespace {

using capture = std::unique_ptr<pcap_t, decltype(&pcap_close)>;

// The file is opened here: libpcap would treat the name "-" as standard input and block on a pipe.
capture open_capture(const std::filesystem::path& file)
{
    std::error_code error;
    const bool regular = std::filesystem::is_regular_file(file, error);
    if (!error && !regular)
        throw std::runtime_error("not a regular file");
    std::FILE* stream = std::fopen(file.c_str(), "rb");
    if (!stream)
        throw std::runtime_error(std::generic_category().message(errno));
    char reason[PCAP_ERRBUF_SIZE] = "";
    capture result(pcap_fopen_offline(stream, reason), pcap_close);
    if (!result) {
        std::fclose(stream);
        throw std::runtime_error(reason);
    }
    return result;
}

} // namespace

std::vector<bytes> read_capture(const std::filesystem::path& file, size_t most)
{
    const capture from = open_capture(file);
    if (const int type = pcap_datalink(from.get()); type != DLT_EN10MB) {
        const char* name = pcap_datalink_val_to_name(type);
        throw std::runtime_error(std::string("its frames are not Ethernet but ") +
                                 (name ? name : "of an unknown kind"));
    }
    std::vector<bytes> frames;
    pcap_pkthdr* header = nullptr;
    const u_char* data = nullptr;
    int status = 1;
    reading_progress progress(file.filename().string(), pcap_file(from.get()));
    while (frames.size() < most && (status = pcap_next_ex(from.get(), &header, &data)) == 1) {
        frames.emplace_back(data, data + header->caplen);
        progress.step();
    }
    if (status == PCAP_ERROR)
        throw std::runtime_error(pcap_geterr(from.get()));
    return frames;
}

std::vector<diagnostic> read_captures(scenario& into)
{
    std::vector<diagnostic> errors;
    const std::filesystem::path folder = std::filesystem::path(into.name).parent_path();
    for (scenario_line& line : into.lines) {
        auto* pcap = std::get_if<pcap_command>(&line.command);
        if (!pcap)
            continue;
        try {
            pcap->frames = read_capture(folder / pcap->file);
        } catch (const std::runtime_error& error) {
            errors.push_back(
                {into.name, line.line, 0,
                 "cannot read the capture " + in_quotes(pcap->file) + ": " + error.what()});
        }
    }
    return errors;
}

} // namespace gponflow
