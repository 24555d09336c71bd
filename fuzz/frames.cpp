// SPDX-License-Identifier: GPL-2.0-only
// Frames of any bytes in every kind of hook call, on lines with typical configurations.
#include <array>
#include <optional>

#include "fuzz/byte_source.h"
#include "fuzz/line.h"
#include "fuzz/step.h"
#include "platform/host/host.h"

#include "base/switches.h"

using namespace gponflow;
using namespace gponflow::fuzz;

namespace {

constexpr std::array graphs = {
    "scenarios/subscriber-line.scn",
    "scenarios/tour.scn",
    "scenarios/demo.scn",
    "tests/scenarios/walk/link-recorded-twice-ends.scn",
    "tests/scenarios/walk/second-bridge-wins-and-stale-steps-are-learnt.scn",
    "tests/scenarios/walk/upstream-through-a-mapper-without-bridge.scn",
    "tests/scenarios/mapper/dscp-of-untagged-frames.scn",
    "tests/scenarios/filter/count-beyond-the-list-reads-the-record.scn",
};

// The line of a graph; provisioned again only for another graph, because packets change only the
// rules.
line& line_of(size_t graph, bool listening)
{
    static std::optional<line> current;
    static size_t standing = 0;
    if (!current || standing != graph) {
        current.reset();
        current.emplace(false);
        current->provision(graphs[graph]);
        standing = graph;
    }
    current->listen(listening);
    current->execute(platform_command{pointer_setting{0}, pointer_setting{0}});
    current->execute(proc_write_command{"clean flow_rule 0 0"});
    current->execute(proc_write_command{"set enable 1"});
    current->execute(proc_write_command{"set trace disable"});
    return *current;
}

/* What a hook call leaves. */
struct result {
    int api_result;
    uint16_t gem_port;
    bool operator==(const result&) const = default;
};

// The packets of a backend begin at their MAC header; here it can be at any offset.
result call(const hook_command& call, uint32_t mac_offset)
{
    sk_buff packet;
    packet.flag_word = call.options.flags;
    packet.port_word = call.options.port_word;
    packet.mark_word = call.options.mark_word;
    packet.gemport_id = call.options.gem;
    packet.multicast = call.options.multicast;
    packet.data = call.frame->data();
    packet.bytes = static_cast<uint32_t>(call.frame->size());
    packet.mac_offset = mac_offset;
    const auto returned = gpon::host::hook(call.options.kind, 1, &packet);
    require(returned && returned->ret == GPON_HOOK_RETURN, "each hook call has the same status");
    require(returned->api_result >= -1 && returned->api_result <= 1, "a packet passes or fails");
    return {returned->api_result, packet.gemport_id};
}

// The second call replays the rule of the first one and the third one uses what the second one
// left.
void call_until_known(const hook_command& packet, uint32_t mac_offset)
{
    call(packet, mac_offset);
    call(packet, mac_offset);
    const result known = call(packet, mac_offset);
    gpon::host::set_remembered_outcomes(false);
    require(call(packet, mac_offset) == known, "a remembered outcome is that of a replay");
    gpon::host::set_remembered_outcomes(true);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    byte_source input(data, size);
    const uint8_t setup = input.u8();
    line& module = line_of(setup % graphs.size(), (setup & 0x80) != 0);
    gponDebugLevel = setup & 0x80 ? setup >> 4 & 7 : 0;
    if (setup & 0x08)
        module.execute(proc_write_command{"set trace src_mac 02:00:00:00:01:01"});
    for (int packets = 0; !input.empty() && packets < 64; ++packets) {
        const uint32_t mac_offset = input.u8();
        call_until_known(take_packet(input), mac_offset);
    }
    module.check();
    return 0;
}
