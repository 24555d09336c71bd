// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/frame_entry.h"

#include "tool/model/uni.h"

#include <algorithm>
#include <stdexcept>

#include "include/tp_types.h"
#include "platform/api/platform_hook.h"

namespace gponflow {

namespace {

std::string known_unis(const line_model& entities)
{
    std::string text;
    for (const uni_port& one : uni_ports(entities))
        text +=
            (text.empty() ? "" : ", ") + std::to_string(one.number) + " (" + to_text(one.id) + ")";
    return text.empty() ? "the line has no UNI" : "the UNIs of the line are " + text;
}

std::string known_gem_ports(const line_model& entities)
{
    constexpr size_t most_ports = 16;
    std::string text;
    size_t count = 0;
    for (const me_instance& ctp : entities.instances(me_class::gemctp))
        if (count++ < most_ports)
            text += (text.empty() ? "" : ", ") + std::to_string(ctp.as<gpon_raw_gemctp>().portID);
    if (count > most_ports)
        text += " and " + std::to_string(count - most_ports) + " more";
    return text.empty() ? "the line has no GEM port" : "the GEM ports of the line are " + text;
}

const me_instance* ctp_of(const line_model& entities, uint16_t gem)
{
    for (const me_instance& ctp : entities.instances(me_class::gemctp))
        if (ctp.as<gpon_raw_gemctp>().portID == gem)
            return &ctp;
    return nullptr;
}

// The platform marks the frames of a GEM port that a multicast GEM IW TP uses.
bool is_multicast(const line_model& entities, me_id ctp)
{
    return std::ranges::any_of(entities.instances(me_class::multigemiw), [&](const auto& one) {
        return one.template as<gpon_raw_multigemiw>().GemCTPInstID == ctp.instance;
    });
}

packet_options call_of_uni(uint16_t uni, const line_model& entities)
{
    const std::vector<uni_port> known = uni_ports(entities);
    if (std::ranges::find(known, uni, &uni_port::number) == known.end())
        throw std::runtime_error("UNI " + std::to_string(uni) +
                                 " does not exist: " + known_unis(entities));
    packet_options options;
    options.kind = GPON_API_UP_UNI;
    options.port_word = static_cast<uint32_t>(uni) << 4;
    return options;
}

packet_options call_of_gem(uint16_t gem, const line_model& entities)
{
    const me_instance* ctp = ctp_of(entities, gem);
    if (ctp == nullptr)
        throw std::runtime_error("no GEM_PORT_CTP has the GEM port " + std::to_string(gem) +
                                 " (portID): " + known_gem_ports(entities));
    packet_options options;
    options.kind = GPON_API_DOWN_ANI;
    options.gem = gem;
    options.multicast = is_multicast(entities, ctp->id);
    return options;
}

bool has_bridge_port(const line_model& entities, const uni_port& uni)
{
    return std::ranges::any_of(entities.instances(me_class::mbpcd),
                               [&](const me_instance& port) { return is_port_of_uni(port, uni); });
}

} // namespace

std::vector<uni_port> uni_ports(const line_model& entities)
{
    std::vector<uni_port> ports;
    for (const me_class class_id : uni_classes)
        for (const me_instance& one : entities.instances(class_id)) {
            const auto number = uni_number(one.id);
            if (number < 16)
                ports.push_back({number, one.id});
        }
    return ports;
}

bool is_port_of_uni(const me_instance& bridge_port, const uni_port& uni)
{
    const auto me = bridge_port.as<gpon_raw_mbpcd>();
    return me.tpPointer == uni.id.instance &&
           gpon::bridge_port_tp(me.tpType).class_id == uni.id.class_id;
}

packet_options first_call(const frame_entry& entry, const line_model& entities)
{
    if (entry.uni)
        return call_of_uni(*entry.uni, entities);
    if (entry.gem)
        return call_of_gem(*entry.gem, entities);
    throw std::runtime_error(
        "no entry for the frame: add --uni for a frame of the subscriber, or --gem for a frame "
        "of the OLT; " +
        known_unis(entities) + "; " + known_gem_ports(entities));
}

packet_options second_call(packet_options first)
{
    first.kind = first.kind == GPON_API_UP_UNI ? GPON_API_UP_ANI : GPON_API_DOWN_UNI;
    return first;
}

std::optional<uni_port> only_uni(const line_model& entities)
{
    std::optional<uni_port> only;
    for (const uni_port& one : uni_ports(entities)) {
        if (!has_bridge_port(entities, one))
            continue;
        if (only && only->number != one.number)
            return {};
        only = only.value_or(one);
    }
    return only;
}

std::vector<std::string> notes_of(const frame_entry& entry, const line_model& entities)
{
    std::vector<std::string> notes;
    std::optional<me_id> taken;
    for (const uni_port& one : uni_ports(entities)) {
        if (one.number != entry.uni)
            continue;
        if (taken)
            notes.push_back(to_text(one.id) + " has the number of " + to_text(*taken) +
                            ", which the module takes. To explain its frames, add \"me delete " +
                            to_text(*taken) + "\" to the scenario.");
        else
            taken = one.id;
    }
    return notes;
}

} // namespace gponflow
