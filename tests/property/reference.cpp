// SPDX-License-Identifier: GPL-2.0-only
#include "tests/property/reference.h"

#include <tins/arp.h>
#include <tins/constants.h>
#include <tins/dot1q.h>
#include <tins/ethernetII.h>
#include <tins/exceptions.h>
#include <tins/ip.h>
#include <tins/ipv6.h>
#include <tins/pppoe.h>
#include <tins/rawpdu.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <utility>

namespace gpon::reference {

namespace {

constexpr size_t ethernet_bytes = 14;
constexpr size_t type_offset = 12;
constexpr size_t tag_bytes = 4;

Tins::IP ipv4(uint8_t code_point, bool options)
{
    Tins::IP ip("192.0.2.1", "192.0.2.2");
    ip.tos(static_cast<uint8_t>(code_point << 2 | 1));
    if (options)
        ip.stream_identifier(0x1234);
    return ip;
}

Tins::IPv6 ipv6(uint8_t code_point)
{
    Tins::IPv6 ip("2001:db8::1", "2001:db8::2");
    ip.traffic_class(static_cast<uint8_t>(code_point << 2 | 2));
    ip.flow_label(0xfffff);
    // One that the library takes for no extension header.
    ip.next_header(253);
    return ip;
}

Tins::PPPoE session(uint16_t protocol, octets packet)
{
    Tins::PPPoE pppoe;
    pppoe.code(0);
    pppoe.session_id(0x4711);
    packet.insert(packet.begin(),
                  {static_cast<uint8_t>(protocol >> 8), static_cast<uint8_t>(protocol)});
    pppoe.payload_length(static_cast<uint16_t>(packet.size()));
    pppoe.inner_pdu(Tins::RawPDU(packet.begin(), packet.end()));
    return pppoe;
}

uint16_t ordinary_or_reversed(uint16_t word, bool reversed)
{
    return reversed ? static_cast<uint16_t>(word << 8 | word >> 8) : word;
}

// The type and what follows it.
std::pair<uint16_t, octets> body(const description& described)
{
    const octets padding(8, 0x55);
    Tins::IP v4 = ipv4(described.dscp, described.kind == inner::ipv4_options);
    v4.inner_pdu(Tins::RawPDU(padding.begin(), padding.end()));
    Tins::IPv6 v6 = ipv6(described.dscp);
    v6.inner_pdu(Tins::RawPDU(padding.begin(), padding.end()));
    switch (described.kind) {
    case inner::ipv4:
    case inner::ipv4_options:
        return {0x0800, v4.serialize()};
    case inner::ipv6:
        return {0x86dd, v6.serialize()};
    case inner::arp:
        return {0x0806, Tins::ARP("192.0.2.2", "192.0.2.1").serialize()};
    case inner::pppoe_discovery: {
        Tins::PPPoE offer;
        offer.code(9);
        offer.service_name("internet");
        return {0x8863, offer.serialize()};
    }
    case inner::pppoe_ipv4:
        return {0x8864, session(ordinary_or_reversed(0x21, described.ppp_reversed), v4.serialize())
                            .serialize()};
    case inner::pppoe_ipv6:
        return {0x8864, session(ordinary_or_reversed(0x57, described.ppp_reversed), v6.serialize())
                            .serialize()};
    case inner::pppoe_lcp:
        return {0x8864,
                session(ordinary_or_reversed(0xc021, described.ppp_reversed), v4.serialize())
                    .serialize()};
    case inner::other:
        break;
    }
    return {0x88b5, octets(20, 0x45)};
}

octets padded(const octets& frame, size_t at_least)
{
    octets copy = frame;
    copy.resize(std::max(copy.size(), at_least));
    return copy;
}

// One layer each, without what lies behind it.
Tins::EthernetII ethernet(const octets& frame)
{
    return {padded(frame, ethernet_bytes).data(), ethernet_bytes};
}

bool names_a_tag(uint16_t type)
{
    return type == Tins::Constants::Ethernet::VLAN || type == Tins::Constants::Ethernet::QINQ ||
           type == Tins::Constants::Ethernet::OLD_QINQ;
}

// Zeros where the frame ends too early, the whole frame's bytes behind the fields that are read:
// lengths and checksums still fit.
octets readable(const octets& frame, const octets& whole, size_t header)
{
    octets copy = padded(whole, header + 2);
    for (size_t at = frame.size(); at < header + 2; ++at)
        copy[at] = 0;
    return copy;
}

std::optional<code_point> of_ipv4(const uint8_t* from, size_t bytes)
{
    try {
        const Tins::IP ip(from, static_cast<uint32_t>(bytes));
        if (ip.version() == 4)
            return code_point{static_cast<uint8_t>(ip.tos() >> 2), false};
    } catch (const Tins::exception_base&) {
    }
    return {};
}

std::optional<code_point> of_ipv6(const uint8_t* from, size_t bytes)
{
    try {
        const Tins::IPv6 ip(from, static_cast<uint32_t>(bytes));
        if (ip.version() == 6)
            return code_point{static_cast<uint8_t>(ip.traffic_class() >> 2), true};
    } catch (const Tins::exception_base&) {
    }
    return {};
}

uint16_t word_at(const octets& bytes, size_t at)
{
    return static_cast<uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

std::optional<code_point> of_pppoe(const octets& frame, const octets& whole, size_t type_at)
{
    constexpr size_t header_bytes = 6;
    const size_t protocol_at = type_at + 2 + header_bytes;
    const octets bytes = readable(frame, whole, protocol_at + 2);
    const uint8_t* packet = bytes.data() + protocol_at + 2;
    const size_t rest = bytes.size() - protocol_at - 2;
    switch (word_at(bytes, protocol_at)) {
    case 0x2100:
        return of_ipv4(packet, rest);
    case 0x5700:
        return of_ipv6(packet, rest);
    default:
        return {};
    }
}

} // namespace

std::string description::text() const
{
    std::ostringstream out;
    for (const tag& one : tags)
        out << std::hex << one.tpid << '/' << one.tci << ' ';
    out << std::dec << "kind " << static_cast<int>(kind) << " dscp " << int{dscp}
        << (type_reversed ? " type reversed" : "") << (ppp_reversed ? " ppp reversed" : "");
    return out.str();
}

octets build(const description& described)
{
    const auto [type, rest] = body(described);
    Tins::EthernetII outer("02:a1:a2:a3:a4:a5", "02:b1:b2:b3:b4:b5");
    for (const tag& one : described.tags) {
        Tins::Dot1Q layer(one.tci & 0xfff);
        layer.priority(static_cast<uint8_t>(one.tci >> 13));
        layer.cfi((one.tci >> 12) & 1);
        outer /= layer;
    }
    octets frame = outer.serialize();
    // The library writes one TPID and the types of the layers that it knows.
    for (size_t i = 0; i < described.tags.size(); ++i) {
        frame[type_offset + tag_bytes * i] = static_cast<uint8_t>(described.tags[i].tpid >> 8);
        frame[type_offset + tag_bytes * i + 1] = static_cast<uint8_t>(described.tags[i].tpid);
    }
    frame.resize(type_offset + tag_bytes * described.tags.size());
    const uint16_t written = ordinary_or_reversed(type, described.type_reversed);
    frame.insert(frame.end(), {static_cast<uint8_t>(written >> 8), static_cast<uint8_t>(written)});
    frame.insert(frame.end(), rest.begin(), rest.end());
    return frame;
}

std::string destination(const octets& frame)
{
    return ethernet(frame).dst_addr().to_string();
}

std::string source(const octets& frame)
{
    return ethernet(frame).src_addr().to_string();
}

std::vector<tag> tags(const octets& frame)
{
    std::vector<tag> found;
    uint16_t type = ethernet(frame).payload_type();
    for (size_t at = ethernet_bytes; names_a_tag(type); at += tag_bytes) {
        const octets bytes = padded(frame, at + tag_bytes);
        const Tins::Dot1Q layer(bytes.data() + at, tag_bytes);
        const uint16_t tci =
            static_cast<uint16_t>(layer.priority() << 13 | layer.cfi() << 12 | layer.id());
        found.push_back({type, tci});
        type = layer.payload_type();
    }
    return found;
}

std::optional<code_point> dscp(const octets& frame, const octets& whole, size_t tag_count)
{
    const size_t type_at = type_offset + tag_bytes * tag_count;
    const octets bytes = readable(frame, whole, type_at + 2);
    const uint8_t* packet = bytes.data() + type_at + 2;
    const size_t rest = bytes.size() - type_at - 2;
    switch (word_at(bytes, type_at)) {
    case 0x0008:
        return of_ipv4(packet, rest);
    case 0xdd86:
        return of_ipv6(packet, rest);
    case 0x6488:
        return of_pppoe(frame, whole, type_at);
    default:
        return {};
    }
}

} // namespace gpon::reference
