// SPDX-License-Identifier: GPL-2.0-only
#include "bench/line.h"

#include <cstring>
#include <stdexcept>
#include <string>

#include "include/uapi/gpon_flow.h"

namespace gpon::bench {
namespace {

constexpr uint16_t all_attributes = 0xffff;
constexpr uint16_t tcont_id = 0x8000;
enum : uint8_t { tp_pptp = 1, tp_mapper = 3 };

void create(me_class class_id, uint16_t inst_id, const void* record)
{
    command(ZR_OMCI_MSG_TYPE_CREAT, class_id, inst_id, all_attributes, record);
}

void create_bridge(uint16_t id)
{
    gpon_raw_mbsp bridge = {};
    bridge.instID = id;
    bridge.uniBridgingEnable = 1;
    create(me_class::mbsp, id, &bridge);
}

void create_port(uint16_t id, uint16_t bridge, uint8_t tp_type, uint16_t tp)
{
    gpon_raw_mbpcd port = {};
    port.instID = id;
    port.bridgeID = bridge;
    port.tpType = tp_type;
    port.tpPointer = tp;
    create(me_class::mbpcd, id, &port);
}

void create_gem_port(unsigned service)
{
    gpon_raw_gemctp ctp = {};
    ctp.instID = gem_ctp_of(service);
    ctp.portID = gem_port_of(service);
    ctp.tcontID = tcont_id;
    ctp.direction = 3;
    create(me_class::gemctp, ctp.instID, &ctp);
    const gpon_raw_gemiw iw = {gem_iw_of(service), ctp.instID};
    create(me_class::gemiw, iw.instID, &iw);
}

void create_mapper(unsigned service)
{
    gpon_raw_mapper mapper = {};
    mapper.instID = mapper_of(service);
    mapper.tpPointer = 0xffff;
    for (uint16_t& gem_iw : mapper.pbit_GemIWTP)
        gem_iw = gem_iw_of(service);
    mapper.unmark_frame_opt = 1;
    create(me_class::mapper, mapper.instID, &mapper);
}

void create_filter(unsigned service)
{
    gpon_raw_vtfd filter = {};
    filter.instID = port_of(service);
    filter.vlanFilterList[0] = vlan_of(service);
    filter.forwardOperation = 0x04;
    filter.vlanFilterNums = 1;
    create(me_class::vtfd, filter.instID, &filter);
}

void create_service(const line_shape& shape, unsigned service)
{
    create_gem_port(service);
    create_mapper(service);
    create_port(port_of(service), bridge_of(shape, service), tp_mapper, mapper_of(service));
    create_filter(service);
}

} // namespace

uint16_t bridge_of(const line_shape& shape, unsigned service)
{
    return static_cast<uint16_t>(1 + service / shape.services);
}

uint16_t port_of(unsigned service)
{
    return static_cast<uint16_t>(0x1001 + service);
}

uint16_t mapper_of(unsigned service)
{
    return static_cast<uint16_t>(1 + service);
}

uint16_t gem_iw_of(unsigned service)
{
    return static_cast<uint16_t>(0x11 + service);
}

uint16_t gem_ctp_of(unsigned service)
{
    return static_cast<uint16_t>(1 + service);
}

uint16_t gem_port_of(unsigned service)
{
    return static_cast<uint16_t>(1025 + service);
}

uint16_t vlan_of(unsigned service)
{
    return static_cast<uint16_t>(100 + service);
}

void command(uint8_t msg_type, me_class class_id, uint16_t inst_id, uint16_t mask,
             const void* record)
{
    gpon_flow_cmd control = {};
    control.cmd = GPON_FLOW_CMD_ME;
    control.me = {.msg_type = msg_type,
                  .reserved = 0,
                  .class_id = class_number(class_id),
                  .inst_id = inst_id,
                  .attr_mask = mask,
                  .attr_data = reinterpret_cast<uintptr_t>(record)};
    if (host::ioctl(GPON_FLOW_IOC_COMMAND, reinterpret_cast<uintptr_t>(&control)) != 0)
        throw std::runtime_error("the module refuses instance " + std::to_string(inst_id) +
                                 " of class " + std::to_string(class_number(class_id)));
}

line::line(line_shape wanted) : shape(wanted)
{
    host::reset();
    host::set_sink(nullptr);
    if (host::load() != 0)
        throw std::runtime_error("the module does not load");
    for (unsigned bridge = 0; bridge < shape.bridges; ++bridge)
        create_bridge(static_cast<uint16_t>(1 + bridge));
    if (shape.bridges)
        create_port(uni_port_id, 1, tp_pptp, uni_id);
    for (unsigned service = 0; service < shape.all(); ++service)
        create_service(shape, service);
    host::hook(GPON_API_SWITCH, 1, nullptr);
    // Otherwise another thread runs the deferred frees of the commands during a measurement.
    host::rcu_settle();
}

line::~line()
{
    host::unload();
    host::reset();
}

frame::frame(uint16_t vlan, uint32_t station)
{
    const uint8_t gateway[6] = {0x02, 0x00, 0x5e, 0x10, 0x00, 0x01};
    std::memcpy(&bytes[0], gateway, sizeof(gateway));
    bytes[6] = 0x02;
    bytes[7] = 0x1a;
    set_source(station);
    bytes[12] = 0x81;
    bytes[14] = static_cast<uint8_t>(vlan >> 8);
    bytes[15] = static_cast<uint8_t>(vlan);
    bytes[16] = 0x08;
    packet.data = bytes.data();
    packet.bytes = static_cast<uint32_t>(bytes.size());
    packet.port_word = (uni_id & 0xf) << 4;
}

void frame::set_source(uint32_t station)
{
    for (unsigned i = 0; i < 4; ++i)
        bytes[8 + i] = static_cast<uint8_t>(station >> (24 - 8 * i));
}

} // namespace gpon::bench
