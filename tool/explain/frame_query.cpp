// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/frame_query.h"

#include <algorithm>
#include <stdexcept>

#include "platform/api/platform_hook.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/fault.h"
#include "tool/explain/tagging_entry.h"
#include "tool/scenario/values.h"
#include "tool/text/ethernet_numbers.h"
#include "tool/text/message_words.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

constexpr size_t least_frame = 60; // without frame check sequence

void append(bytes& to, unsigned word)
{
    to.push_back(static_cast<uint8_t>(word >> 8));
    to.push_back(static_cast<uint8_t>(word));
}

bytes bytes_of(const std::string& text)
{
    try {
        return read_hex({"address", text, 0});
    } catch (const syntax_error&) {
        return {};
    }
}

void append_address(bytes& to, const char* option, const std::string& text, uint8_t last_byte)
{
    bytes address = {2, 0, 0, 0, 0, last_byte};
    if (!text.empty())
        address = bytes_of(text);
    if (address.size() != address_bytes)
        throw std::runtime_error(option + (" " + in_quotes(text)) +
                                 ": not a MAC address (00:11:22:33:44:55)");
    to.insert(to.end(), address.begin(), address.end());
}

void append_tag(bytes& to, uint16_t tpid, const query_tag& tag)
{
    append(to, tpid);
    append(to, static_cast<unsigned>(tag.priority) << 13 | tag.vlan);
}

// The header that a mapper reads the DSCP from.
void append_ip(bytes& to, const frame_query& query)
{
    if (query.ethertype == type_ipv4) {
        to.push_back(0x45);
        to.push_back(static_cast<uint8_t>(query.dscp << 2));
    } else if (query.ethertype == type_ipv6) {
        append(to, 0x6000u | static_cast<unsigned>(query.dscp) << 6);
    }
}

captured_frame built_frame(const frame_query& query)
{
    if (query.inner && !query.outer)
        throw std::runtime_error("an inner tag needs an outer one: add --vlan");
    bytes frame;
    append_address(frame, "--dst", query.destination, 1);
    append_address(frame, "--src", query.source, 2);
    if (query.outer)
        append_tag(frame, query.tpid, *query.outer);
    if (query.inner)
        append_tag(frame, 0x8100, *query.inner);
    append(frame, query.ethertype);
    append_ip(frame, query);
    frame.resize(std::max(frame.size(), least_frame));
    return captured_frame(std::move(frame));
}

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

packet_options entry_of_uni(uint16_t uni, const line_model& entities)
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

packet_options entry_of_gem(uint16_t gem, const line_model& entities)
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

packet_options entry_of(const frame_query& query, const line_model& entities)
{
    if (query.uni)
        return entry_of_uni(*query.uni, entities);
    if (query.gem)
        return entry_of_gem(*query.gem, entities);
    throw std::runtime_error(
        "no entry for the frame: add --uni for a frame of the subscriber, or --gem for a frame "
        "of the OLT; " +
        known_unis(entities) + "; " + known_gem_ports(entities));
}

bool passed(const explanation& half)
{
    return half.answer && half.answer->api_result == 0 && half.walk.ran &&
           !is_discarded(leaving_frames(half));
}

// A walk leaves through its last port, the replay of a rule through its first.
std::optional<uint16_t> bridge_of_half(const explanation& half)
{
    std::optional<uint16_t> found;
    for (const walk_step& step : half.walk.steps)
        if (const auto bridge = step.passed ? bridge_of(half.entities, step.at) : std::nullopt)
            if (!found || !half.walk.replayed)
                found = bridge;
    return found;
}

// The second half carries the frame from the UNI anew: its operations are those behind the first.
void leave_out_repeated(const carried_frame& first, carried_frame& second)
{
    const auto leave_out = [](const auto& before, auto& all) {
        all.erase(all.begin(),
                  all.begin() + static_cast<long>(std::min(before.size(), all.size())));
    };
    leave_out(first.steps, second.steps);
    leave_out(first.gaps, second.gaps);
}

} // namespace

captured_frame frame_of(const frame_query& query)
{
    return query.capture.empty() ? built_frame(query) : numbered_frame(query.capture, query.number);
}

std::vector<uni_port> uni_ports(const line_model& entities)
{
    std::vector<uni_port> ports;
    for (const uint16_t class_id : {uint16_t{me_class::pptp}, uint16_t{me_class::veip}})
        for (const me_instance& one : entities.instances(class_id)) {
            const auto number = static_cast<uint16_t>(one.id.instance & 0xff);
            if (number < 16)
                ports.push_back({number, one.id});
        }
    return ports;
}

frame_path trace_frame(const frame_query& query, explain_session& session)
{
    frame_path path{query, frame_of(query), {}, {}};
    packet_options options = entry_of(query, session.entities());
    // As a frame of a capture: both hook calls get it through the operations before them.
    path.frame.number = std::max<size_t>(path.frame.number, 1);
    path.halves.push_back(session.explain({options, path.frame}));
    path.bridge = bridge_of_half(path.halves.front());
    if (!passed(path.halves.front()))
        return path;
    options.kind = query.uni ? GPON_API_UP_ANI : GPON_API_DOWN_UNI;
    explanation second = session.explain({options, path.frame});
    if (query.uni)
        leave_out_repeated(path.halves.front().tagging, second.tagging);
    path.halves.push_back(std::move(second));
    return path;
}

} // namespace gponflow
