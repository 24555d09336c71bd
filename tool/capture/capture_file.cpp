// SPDX-License-Identifier: GPL-2.0-only
#include "tool/capture/capture_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <pcap/pcap.h>

#include "tool/text/progress.h"
#include "tool/text/source_text.h"

namespace gponflow {

namespace {

// Opened here: libpcap prefixes its errors with the name, and the caller does too.
std::FILE* open_stream(const std::string& path)
{
    if (path == "-") {
        claim_standard_input();
        return stdin;
    }
    std::error_code unknown;
    if (std::filesystem::is_directory(path, unknown)) {
        errno = EISDIR;
        throw_errno();
    }
    std::FILE* stream = std::fopen(path.c_str(), "rb");
    if (stream == nullptr)
        throw_errno();
    return stream;
}

std::FILE* open_memory(std::span<const uint8_t> contents)
{
    if (contents.empty())
        throw std::runtime_error("the capture is empty");
    // fmemopen only reads in mode "r" despite the type of its argument.
    std::FILE* stream = fmemopen(const_cast<uint8_t*>(contents.data()), contents.size(), "r");
    if (stream == nullptr)
        throw_errno();
    return stream;
}

// libpcap counts bytes of its own reads, which mean nothing to the user.
std::string opening_error(std::string_view reason)
{
    if (reason.starts_with("truncated"))
        return "too short for a capture";
    if (reason.find("unknown file format") != reason.npos)
        return "no capture: neither pcap nor pcapng";
    return std::string(reason);
}

std::string reading_error(std::string_view reason)
{
    return reason.starts_with("truncated") ? "the file ends within it" : std::string(reason);
}

using owned_pcap = std::unique_ptr<pcap_t, decltype(&pcap_close)>;

owned_pcap open_capture(std::FILE* stream)
{
    std::array<char, PCAP_ERRBUF_SIZE> reason{};
    owned_pcap opened(
        pcap_fopen_offline_with_tstamp_precision(stream, PCAP_TSTAMP_PRECISION_NANO, reason.data()),
        pcap_close);
    if (opened)
        return opened;
    if (stream != stdin)
        std::fclose(stream);
    throw std::runtime_error(opening_error(reason.data()));
}

} // namespace

struct capture_file::handle {
    handle(owned_pcap opened, const std::string& title)
        : pcap(std::move(opened)), progress(title, pcap_file(pcap.get()))
    {
    }

    owned_pcap pcap;
    reading_progress progress;
};

capture_file::capture_file(std::unique_ptr<handle> opened) : handle_(std::move(opened)) {}

capture_file capture_file::open(const std::string& path)
{
    return capture_file(
        std::make_unique<handle>(open_capture(open_stream(path)), capture_title(path)));
}

capture_file capture_file::open(std::span<const uint8_t> contents)
{
    return capture_file(
        std::make_unique<handle>(open_capture(open_memory(contents)), "the capture"));
}

capture_file::capture_file(capture_file&&) noexcept = default;
capture_file::~capture_file() = default;

int capture_file::link_type() const
{
    return pcap_datalink(handle_->pcap.get());
}

std::string capture_file::link_name() const
{
    const char* name = pcap_datalink_val_to_name(link_type());
    return name != nullptr ? name : "unknown";
}

std::optional<capture_record> capture_file::next()
{
    constexpr uint64_t nanoseconds = 1000000000;
    pcap_pkthdr* header = nullptr;
    const u_char* data = nullptr;
    const int status = cut_short_.empty() ? pcap_next_ex(handle_->pcap.get(), &header, &data) : 0;
    if (status != 1) {
        if (status == PCAP_ERROR)
            cut_short_ = "frame " + std::to_string(count_ + 1) + ": " +
                         reading_error(pcap_geterr(handle_->pcap.get()));
        return std::nullopt;
    }
    ++count_;
    handle_->progress.step();
    // A damaged file may have a time before 1970.
    const uint64_t time = static_cast<uint64_t>(header->ts.tv_sec) * nanoseconds +
                          static_cast<uint64_t>(header->ts.tv_usec);
    return capture_record{.data = {data, header->caplen},
                          .wire_length = std::max<size_t>(header->len, header->caplen),
                          .time = time};
}

std::string capture_title(const std::string& path)
{
    return path == "-" ? "standard input" : path;
}

bool is_capture_start(std::string_view first)
{
    using namespace std::string_view_literals;
    // pcap in both byte orders, with microseconds and nanoseconds, and pcapng.
    for (const std::string_view magic :
         {"\xd4\xc3\xb2\xa1"sv, "\xa1\xb2\xc3\xd4"sv, "\x4d\x3c\xb2\xa1"sv, "\xa1\xb2\x3c\x4d"sv,
          "\x0a\x0d\x0d\x0a"sv})
        if (first.starts_with(magic))
            return true;
    return false;
}

} // namespace gponflow
