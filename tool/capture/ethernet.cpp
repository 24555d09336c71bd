// SPDX-License-Identifier: GPL-2.0-only
#include "tool/capture/ethernet.h"

#include <algorithm>
#include <stdexcept>

#include <pcap/dlt.h>

#include "tool/capture/frame_header.h"
#include "tool/text/ethernet_numbers.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

constexpr int sll2_link_type = 276; // DLT_LINUX_SLL2, which older libpcap headers lack

// Positions of the fields of a cooked header.
struct cooked_layout {
    size_t bytes;
    size_t hardware; ///< ARPHRD type
    size_t type;
    size_t address_length;
    size_t address;
    bool wide_length; ///< the length of the address has two bytes
};

constexpr cooked_layout sll = {16, 2, 14, 4, 6, true};
constexpr cooked_layout sll2 = {20, 8, 0, 11, 12, false};

unsigned word_at(std::span<const uint8_t> data, size_t at)
{
    return unsigned{data[at]} << 8 | data[at + 1];
}

// Hardware whose protocol field is no EtherType: frame relay, GRE, 802.11 and netlink.
bool has_ethertype(unsigned hardware)
{
    return hardware != 770 && hardware != 778 && hardware != 803 && hardware != 824;
}

captured_frame whole(const capture_record& from)
{
    captured_frame frame(bytes(from.data.begin(), from.data.end()));
    frame.wire_length = from.wire_length;
    return frame;
}

std::optional<captured_frame> of_cooked(const cooked_layout& at, const capture_record& from)
{
    if (from.data.size() < at.bytes || !has_ethertype(word_at(from.data, at.hardware)))
        return {};
    const size_t length =
        at.wide_length ? word_at(from.data, at.address_length) : from.data[at.address_length];
    const std::span<const uint8_t> payload = from.data.subspan(at.bytes);
    const size_t payload_length = from.wire_length - at.bytes;
    unsigned type = word_at(from.data, at.type);
    // Frames of IEEE 802.3 have a number of Linux here; on the wire it is their length.
    if (type < least_ethertype)
        type = static_cast<unsigned>(std::min<size_t>(payload_length, least_ethertype - 1));
    captured_frame frame;
    frame.cooked = true;
    frame.data.assign(2 * address_bytes, 0);
    std::ranges::copy(from.data.subspan(at.address, std::min(length, address_bytes)),
                      frame.data.begin() + address_bytes);
    frame.data.push_back(static_cast<uint8_t>(type >> 8));
    frame.data.push_back(static_cast<uint8_t>(type));
    frame.data.insert(frame.data.end(), payload.begin(), payload.end());
    frame.wire_length = 2 * address_bytes + 2 + payload_length;
    return frame;
}

// A capture of the OMCI channel is easily named for one of the traffic.
std::string omci_warning(size_t omci, size_t frames)
{
    return std::to_string(omci) + " of " + counted(frames, "frame") +
           (omci == 1 ? " is an OMCI message" : " are OMCI messages") +
           " (type 0x88b5), not traffic: a capture of OMCI messages is a line (FILE)";
}

std::string no_ethernet(const capture_file& from)
{
    const bool may_be_omci = from.link_type() >= DLT_USER0 && from.link_type() <= DLT_USER15;
    return "its frames are not Ethernet but " + from.link_name() +
           (may_be_omci ? "; a capture of OMCI messages is a line (FILE)" : "");
}

} // namespace

std::string cut_text(size_t cut, size_t frames)
{
    return std::to_string(cut) + " of " + counted(frames, "frame") + (cut == 1 ? " ends" : " end") +
           " in the capture before a field that the walk reads (snapshot length)";
}

bool carries_ethernet(int link_type)
{
    return link_type == DLT_EN10MB || link_type == DLT_LINUX_SLL || link_type == sll2_link_type;
}

std::optional<captured_frame> ethernet_frame(int link_type, const capture_record& from)
{
    if (link_type == DLT_EN10MB)
        return whole(from);
    if (link_type == DLT_LINUX_SLL)
        return of_cooked(sll, from);
    if (link_type == sll2_link_type)
        return of_cooked(sll2, from);
    return {};
}

ethernet_capture read_ethernet(capture_file& from, size_t most)
{
    if (!carries_ethernet(from.link_type()))
        throw std::runtime_error(no_ethernet(from));
    ethernet_capture result;
    size_t omci = 0;
    const auto next = [&] { return from.count() < most ? from.next() : std::nullopt; };
    while (const auto record = next()) {
        std::optional<captured_frame> frame = ethernet_frame(from.link_type(), *record);
        if (!frame)
            continue;
        frame->number = from.count();
        const frame_header header = read_header(*frame);
        result.cut += header.cut;
        omci += header.type == type_omci;
        result.frames.push_back(std::move(*frame));
    }
    if (!from.cut_short().empty())
        result.warnings.push_back("ends early, used up to there: " + from.cut_short());
    if (const size_t other = from.count() - result.frames.size(); other != 0)
        result.warnings.push_back(counted(other, "frame") + " without Ethernet, skipped");
    if (result.cut != 0)
        result.warnings.push_back(cut_text(result.cut, result.frames.size()));
    if (omci != 0)
        result.warnings.push_back(omci_warning(omci, result.frames.size()));
    return result;
}

} // namespace gponflow
