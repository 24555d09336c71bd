/* SPDX-License-Identifier: GPL-2.0-only */
/* A subscriber line, provisioned through the character device like by an OMCI stack. */
#pragma once

#include <array>
#include <cstdint>

#include "include/me_class_id.h"
#include "platform/host/host.h"

namespace gpon::bench {

/* One UNI on the first bridge; each bridge has the same number of services, and a service is a
 * bridge port with a filter for one VLAN, a mapper, a GEM interworking TP and a GEM port. */
struct line_shape {
    unsigned bridges = 1;
    unsigned services = 8; // a bridge
    [[nodiscard]] unsigned all() const { return bridges * services; }
};

/* The module, loaded on a reset platform with that line, during the lifetime of the object. */
class line {
public:
    explicit line(line_shape shape);
    ~line();
    line(const line&) = delete;
    line& operator=(const line&) = delete;

    const line_shape shape;
};

/* Ids of service number i, counted over all bridges. */
[[nodiscard]] uint16_t bridge_of(const line_shape& shape, unsigned service);
[[nodiscard]] uint16_t port_of(unsigned service);
[[nodiscard]] uint16_t mapper_of(unsigned service);
[[nodiscard]] uint16_t gem_iw_of(unsigned service);
[[nodiscard]] uint16_t gem_ctp_of(unsigned service);
[[nodiscard]] uint16_t gem_port_of(unsigned service);
[[nodiscard]] uint16_t vlan_of(unsigned service);
inline constexpr uint16_t uni_id = 0x0101;
inline constexpr uint16_t uni_port_id = 0x0101; // the bridge port in front of it

/* A frame of 128 bytes with one tag, and the packet around it. */
struct frame {
    explicit frame(uint16_t vlan, uint32_t station = 1);
    frame(const frame&) = delete;
    frame& operator=(const frame&) = delete;

    void set_source(uint32_t station);

    std::array<uint8_t, 128> bytes = {};
    sk_buff packet = {};
};

/* One create or set through the character device; ends the program if it fails. */
void command(uint8_t msg_type, me_class class_id, uint16_t inst_id, uint16_t mask,
             const void* record);

} // namespace gpon::bench
