// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/capture.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <stdexcept>

#include "tool/capture/capture_file.h"
#include "tool/text/text_table.h"

namespace gponflow::omci {

namespace {

bool is_group(const mac_address& address)
{
    return (address[0] & 1) != 0;
}

class reader {
public:
    reader(int link, const std::optional<mac_address>& wanted) : link_type(link), onu(wanted) {}

    void take(const capture_record& record)
    {
        ++cap.frames;
        const auto payload = find_omci(link_type, record.data);
        if (!payload) {
            ++cap.other_frames;
            return;
        }
        auto& stored = cap.storage.emplace_back(payload->bytes.begin(), payload->bytes.end());
        decoded result = decode_message(stored);
        if (!result.msg)
            damaged(std::move(result.fault), record);
        else
            keep({cap.frames, *result.msg, record.time}, *payload);
    }

    capture cap;

private:
    void damaged(std::string fault, const capture_record& record)
    {
        if (record.data.size() < record.wire_length)
            fault += "; the capture holds " + std::to_string(record.data.size()) +
                     " of the frame's " + std::to_string(record.wire_length) + " bytes";
        cap.damaged.push_back({cap.frames, std::move(fault)});
    }

    void keep(const numbered_message& item, const link_payload& payload)
    {
        const bool from_onu = item.msg.acknowledgement || is_notification(item.msg);
        const auto& address = from_onu ? payload.source : payload.destination;
        if (address && !is_group(*address)) {
            if (onu && *address != *onu) {
                ++cap.skipped_frames;
                return;
            }
            if (std::ranges::find(cap.onus, *address) == cap.onus.end())
                cap.onus.push_back(*address);
        }
        cap.messages.push_back(item);
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
    std::string text = "no OMCI message in " + counted(cap.frames, "frame");
    if (cap.skipped_frames != 0)
        text += "; " + std::to_string(cap.skipped_frames) + " are of other ONUs";
    if (!cap.cut_short.empty())
        text += "; " + cap.cut_short;
    return text;
}

capture_result read_all(capture_file& from, const std::optional<mac_address>& onu)
{
    const int link_type = from.link_type();
    if (!carries_omci(link_type))
        return {std::nullopt, "link type " + std::to_string(link_type) + " (" + from.link_name() +
                                  ") carries no OMCI"};
    reader work(link_type, onu);
    while (const auto record = from.next())
        work.take(*record);
    work.cap.cut_short = from.cut_short();
    if (work.cap.onus.size() > 1)
        return {std::nullopt, several_onus(work.cap), true};
    if (work.cap.messages.empty() && work.cap.damaged.empty())
        return {std::nullopt, no_message(work.cap)};
    return {std::move(work.cap), {}};
}

template <typename source>
capture_result read_from(source from, const std::optional<mac_address>& onu)
{
    try {
        capture_file file = capture_file::open(from);
        return read_all(file, onu);
    } catch (const std::runtime_error& why) {
        return {std::nullopt, why.what()};
    }
}

} // namespace

capture_result read_capture(const std::string& path, const std::optional<mac_address>& onu)
{
    return read_from(path, onu);
}

capture_result read_capture_bytes(std::span<const uint8_t> file,
                                  const std::optional<mac_address>& onu)
{
    return read_from(file, onu);
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
