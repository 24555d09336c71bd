// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/capture.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>

#include <pcap/pcap.h>

#include "tool/text/progress.h"

namespace gponflow::omci {

namespace {

struct pcap_closer {
    void operator()(pcap_t* handle) const { pcap_close(handle); }
};
using pcap_handle = std::unique_ptr<pcap_t, pcap_closer>;

bool is_group(const mac_address& address)
{
    return (address[0] & 1) != 0;
}

class reader {
public:
    reader(int link, const std::optional<mac_address>& wanted) : link_type(link), onu(wanted) {}

    void take(const pcap_pkthdr& header, const uint8_t* bytes)
    {
        ++cap.frames;
        const auto payload = find_omci(link_type, {bytes, header.caplen});
        if (!payload) {
            ++cap.other_frames;
            return;
        }
        auto& stored = cap.storage.emplace_back(payload->bytes.begin(), payload->bytes.end());
        decoded result = decode_message(stored);
        if (!result.msg)
            damaged(std::move(result.fault), header);
        else
            keep(*result.msg, *payload);
    }

    capture cap;

private:
    void damaged(std::string fault, const pcap_pkthdr& header)
    {
        if (header.caplen < header.len)
            fault += "; the capture holds " + std::to_string(header.caplen) + " of the frame's " +
                     std::to_string(header.len) + " bytes";
        cap.damaged.push_back({cap.frames, std::move(fault)});
    }

    void keep(const message& msg, const link_payload& payload)
    {
        const bool from_onu = msg.acknowledgement || is_notification(msg);
        const auto& address = from_onu ? payload.source : payload.destination;
        if (address && !is_group(*address)) {
            if (onu && *address != *onu) {
                ++cap.skipped_frames;
                return;
            }
            if (std::ranges::find(cap.onus, *address) == cap.onus.end())
                cap.onus.push_back(*address);
        }
        cap.messages.push_back({cap.frames, msg});
    }

    int link_type;
    std::optional<mac_address> onu;
};

std::string several_onus(const capture& cap)
{
    constexpr size_t shown = 8;
    std::string text = "messages of " + std::to_string(cap.onus.size()) + " ONUs (";
    for (size_t i = 0; i < cap.onus.size() && i < shown; ++i)
        text += (i == 0 ? "" : ", ") + to_text(cap.onus[i]);
    return text + (cap.onus.size() > shown ? ", ..." : "") + "): choose one of them";
}

std::string no_message(const capture& cap)
{
    std::string text = "no OMCI message in " + std::to_string(cap.frames) + " frames";
    if (cap.skipped_frames != 0)
        text += "; " + std::to_string(cap.skipped_frames) + " are of other ONUs";
    if (!cap.cut_short.empty())
        text += "; " + cap.cut_short;
    return text;
}

// libpcap prefixes some errors with the file name; the caller adds it to all.
std::string without_path(std::string_view error, const std::string& path)
{
    const std::string prefix = path + ": ";
    return std::string(error.starts_with(prefix) ? error.substr(prefix.size()) : error);
}

capture_result read_all(pcap_t* handle, const std::optional<mac_address>& onu)
{
    const int link_type = pcap_datalink(handle);
    if (!carries_omci(link_type)) {
        const char* name = pcap_datalink_val_to_name(link_type);
        return {std::nullopt, "link type " + std::to_string(link_type) + " (" +
                                  (name != nullptr ? name : "unknown") + ") carries no OMCI"};
    }
    reader work(link_type, onu);
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    int status = 0;
    reading_progress progress("the capture", pcap_file(handle));
    while ((status = pcap_next_ex(handle, &header, &bytes)) == 1) {
        work.take(*header, bytes);
        progress.step();
    }
    if (status == PCAP_ERROR)
        work.cap.cut_short =
            "frame " + std::to_string(work.cap.frames + 1) + ": " + pcap_geterr(handle);
    if (work.cap.onus.size() > 1)
        return {std::nullopt, several_onus(work.cap), true};
    if (work.cap.messages.empty() && work.cap.damaged.empty())
        return {std::nullopt, no_message(work.cap)};
    return {std::move(work.cap), {}};
}

} // namespace

capture_result read_capture(const std::string& path, const std::optional<mac_address>& onu)
{
    std::array<char, PCAP_ERRBUF_SIZE> error{};
    const pcap_handle handle(pcap_open_offline(path.c_str(), error.data()));
    if (!handle)
        return {std::nullopt, without_path(error.data(), path)};
    return read_all(handle.get(), onu);
}

capture_result read_capture_bytes(std::span<const uint8_t> file,
                                  const std::optional<mac_address>& onu)
{
    if (file.empty())
        return {std::nullopt, "the capture is empty"};
    // fmemopen only reads in mode "r" despite the type of its argument.
    FILE* stream = fmemopen(const_cast<uint8_t*>(file.data()), file.size(), "r");
    if (stream == nullptr)
        return {std::nullopt, std::strerror(errno)};
    std::array<char, PCAP_ERRBUF_SIZE> error{};
    const pcap_handle handle(pcap_fopen_offline(stream, error.data())); // owns the stream now
    if (!handle) {
        std::fclose(stream);
        return {std::nullopt, error.data()};
    }
    return read_all(handle.get(), onu);
}

std::string to_text(const mac_address& address)
{
    std::array<char, 18> text;
    std::snprintf(text.data(), text.size(), "%02x:%02x:%02x:%02x:%02x:%02x", address[0], address[1],
                  address[2], address[3], address[4], address[5]);
    return text.data();
}

std::optional<mac_address> parse_mac(std::string_view text)
{
    constexpr size_t group = 3; // two digits and a separator
    mac_address address{};
    if (text.size() != address.size() * group - 1)
        return std::nullopt;
    for (size_t i = 0; i < address.size(); ++i) {
        const char* first = text.data() + i * group;
        const auto [end, status] = std::from_chars(first, first + 2, address[i], 16);
        if (status != std::errc{} || end != first + 2)
            return std::nullopt;
        if (i + 1 < address.size() && *end != ':' && *end != '-')
            return std::nullopt;
    }
    return address;
}

} // namespace gponflow::omci
