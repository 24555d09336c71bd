// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/frame_query.h"

#include <algorithm>
#include <stdexcept>

#include "include/tci.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/fault.h"
#include "tool/explain/tagging_entry.h"
#include "tool/scenario/values.h"
#include "tool/tagging/frame_tags.h"
#include "tool/text/ethernet_numbers.h"
#include "tool/text/message_words.h"

namespace gponflow {

namespace {

constexpr size_t least_frame = 60; // without frame check sequence

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
    append_word(to, tpid);
    append_word(to, gpon::to_tci(tag.priority, false, tag.vlan));
}

// The header that a mapper reads the DSCP from.
void append_ip(bytes& to, const frame_query& query)
{
    if (query.ethertype == type_ipv4) {
        to.push_back(0x45);
        to.push_back(static_cast<uint8_t>(query.dscp << 2));
    } else if (query.ethertype == type_ipv6) {
        append_word(to, static_cast<uint16_t>(0x6000 | query.dscp << 6));
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
    append_word(frame, query.ethertype);
    append_ip(frame, query);
    frame.resize(std::max(frame.size(), least_frame));
    return captured_frame(std::move(frame));
}

bool passed(const explanation& half)
{
    return half.returned && half.returned->api_result == 0 && half.walk.ran &&
           missing_field(half).empty() && !is_discarded(leaving_frames(half));
}

// The second half carries the frame from the UNI anew: its operations are those after the first.
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

frame_path trace_frame(const frame_query& query, explain_session& session)
{
    frame_path path{query, frame_of(query), {}, {}};
    const packet_options first = first_call(query, session.entities());
    // As a frame of a capture: both hook calls get it through the operations before them.
    path.frame.number = std::max<size_t>(path.frame.number, 1);
    path.halves.push_back(session.explain({first, path.frame}));
    path.bridge = bridge_of_path(path.halves.front().walk, path.halves.front().entities);
    if (!passed(path.halves.front()))
        return path;
    explanation second = session.explain({second_call(first), path.frame});
    second.bridge = path.bridge;
    if (query.uni)
        leave_out_repeated(path.halves.front().tagging, second.tagging);
    path.halves.push_back(std::move(second));
    return path;
}

} // namespace gponflow
