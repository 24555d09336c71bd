// SPDX-License-Identifier: GPL-2.0-only
#include "tests/support/generated_line.h"

#include <random>
#include <sstream>
#include <stdexcept>

#include "tool/scenario/parse.h"

namespace gponflow::test {

namespace {

constexpr unsigned most_services = 3900;
constexpr unsigned first_vlan = 100;
constexpr unsigned first_gem_port = 64;
constexpr unsigned unis = 8;
constexpr unsigned queues_of_a_tcont = 8;

// Ids of a service: its bridge port, and its GEM interworking and CTP.
unsigned port_of(unsigned service)
{
    return 0x1000 + service;
}

unsigned gem_of(unsigned service)
{
    return 1 + service;
}

void write_tconts(const line_shape& shape, std::ostream& out)
{
    const unsigned queues = (shape.all_services() + 7) / 8;
    for (unsigned tcont = 0; tcont * queues_of_a_tcont < queues; ++tcont)
        out << "me set T_CONT " << 0x8000 + tcont << " mask=0xa000 allocID=" << 256 + tcont
            << " policy=1\n";
    for (unsigned queue = 0; queue < queues; ++queue)
        out << "me set PRIORITY_QUEUE " << queue << " mask=0x0700 relatedPort="
            << 0x80000000 + queue / queues_of_a_tcont * 0x10000 + queue % queues_of_a_tcont
            << " weight=1\n";
}

void write_service(const line_shape& shape, unsigned service, std::ostream& out)
{
    const unsigned queue = service / 8;
    const unsigned gem = gem_of(service), port = port_of(service);
    out << "me create GEM_PORT_CTP " << gem << " portID=" << first_gem_port + gem
        << " tcontID=" << 0x8000 + queue / queues_of_a_tcont
        << " direction=3 trafficMgrPtrUp=" << queue << '\n'
        << "me create GEM_INTERWORK_TP " << gem << " gemCTPInstID=" << gem << '\n';
    out << "me create 802_1P_MAPPER " << 1 + service << " tpPointer=0xffff pbit_GemIWTP=";
    for (unsigned priority = 0; priority < 8; ++priority)
        out << (priority ? "," : "") << gem;
    out << " unmark_frame_opt=1\n"
        << "me create MAC_BRIDGE_PORT_CON_DATA " << port
        << " bridgeID=" << 1 + service / shape.services << " tpType=3 tpPointer=" << 1 + service
        << "\nme create VLAN_TAG_FILTER_DATA " << port << " vlanFilterList=" << first_vlan + service
        << " forwardOperation=0x04 vlanFilterNums=1\n";
}

void write_bridge(unsigned bridge, std::ostream& out)
{
    out << "me create MAC_BRIDGE_SERVICE_PROFILE " << 1 + bridge << " uniBridgingEnable=1\n"
        << "me create MAC_BRIDGE_PORT_CON_DATA " << 0x100 + bridge << " bridgeID=" << 1 + bridge
        << " tpType=1 tpPointer=" << 0x0101 + bridge % unis << '\n';
}

class frame_source {
public:
    explicit frame_source(const line_shape& shape) : shape_(shape), random_(shape.seed) {}

    bytes next(bool upstream)
    {
        const unsigned service = below(shape_.busy ? shape_.busy : shape_.all_services());
        const unsigned station = service * shape_.stations + below(shape_.stations);
        const bool foreign = shape_.foreign && ++made_ % shape_.foreign == 0;
        const unsigned vlan = foreign ? 4094 : first_vlan + service;
        const unsigned tci = (service % 2 ? 5u : 0u) << 13 | vlan;
        bytes frame = {0x02, 0, 0x5e, 0x10, 0, 1};
        const bytes source = {
            0x02, 0, 0x5e, 0x20, static_cast<uint8_t>(station >> 8), static_cast<uint8_t>(station)};
        frame.insert(upstream ? frame.end() : frame.begin(), source.begin(), source.end());
        const bytes rest = {
            0x81, 0, static_cast<uint8_t>(tci >> 8), static_cast<uint8_t>(tci), 0x08, 0x00,
            0x45, 0};
        frame.insert(frame.end(), rest.begin(), rest.end());
        frame.resize(100 + below(400));
        frame[27] = 17; // UDP
        return frame;
    }

private:
    unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

    const line_shape shape_;
    std::mt19937 random_;
    unsigned made_ = 0;
};

} // namespace

std::string line_text(const line_shape& shape)
{
    if (shape.all_services() > most_services)
        throw std::invalid_argument("more services than VLANs");
    std::ostringstream out;
    out << "load\n"
           "config upstream_queue_num=512 related_port_boundary=0x80000000 queues_per_uni=8 "
           "queues_per_tcont=8 downstream_queue_base=512 tcont_base=0x7fff\n"
           "me create TRAFFIC_DESCRIPTOR 1 cir=1250000 pir=12500000 cbs=65536 pbs=131072\n";
    write_tconts(shape, out);
    for (unsigned uni = 0; uni < unis; ++uni)
        out << "me create PPTP_ETHERNET_UNI " << 0x0101 + uni << '\n';
    for (unsigned bridge = 0; bridge < shape.bridges; ++bridge)
        write_bridge(bridge, out);
    for (unsigned service = 0; service < shape.all_services(); ++service)
        write_service(shape, service, out);
    out << "hook kind=switch param=1\n";
    return out.str();
}

std::vector<generated_traffic> line_traffic(const line_shape& shape)
{
    frame_source source(shape);
    packet_options to_ani, from_uni, from_gem;
    to_ani.kind = 1;
    from_uni.kind = 0;
    from_uni.port_word = 1 << 4;
    from_gem.kind = 3;
    from_gem.gem = first_gem_port + 1;
    const auto take = [&](unsigned count, bool upstream) {
        std::vector<bytes> frames;
        for (unsigned i = 0; i < count; ++i)
            frames.push_back(source.next(upstream));
        return frames;
    };
    const unsigned fifth = shape.frames / 5;
    return {{"to-ani.pcap", to_ani, take(shape.frames - 2 * fifth, true)},
            {"from-uni.pcap", from_uni, take(fifth, true)},
            {"from-gem.pcap", from_gem, take(fifth, false)}};
}

scenario generated_scenario(const line_shape& shape)
{
    parse_result parsed = parse_scenario(line_text(shape), "generated.scn");
    if (!parsed.errors.empty())
        throw std::logic_error("the generated line: " + parsed.errors.front().message);
    for (const generated_traffic& traffic : line_traffic(shape)) {
        const auto line = static_cast<unsigned>(parsed.input.lines.size() + 1);
        pcap_command capture;
        capture.file = traffic.file;
        capture.options = traffic.options;
        for (const bytes& frame : traffic.frames) {
            capture.frames.emplace_back(frame);
            capture.frames.back().number = capture.frames.size();
        }
        parsed.input.lines.push_back({line, "pcap " + traffic.file, std::move(capture)});
    }
    return std::move(parsed.input);
}

} // namespace gponflow::test
