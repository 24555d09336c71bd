// SPDX-License-Identifier: GPL-2.0-only
// Services: bridges, their ports, and the frames that leave through them.
#include <algorithm>
#include <set>
#include <vector>

#include "include/tp_types.h"
#include "tool/check/families.h"
#include "tool/model/tag_set.h"

namespace gponflow {

namespace {

struct service_port {
    const me_instance* me;
    const me_instance* bridge;
    tag_set accepted; ///< upstream
    bool unfiltered;  ///< accepts every VLAN
};

// The ports of a bridge in the order in which a walk tries them.
std::vector<const me_instance*> ports_of(const line_model& entities, const me_instance& bridge)
{
    std::vector<const me_instance*> ports;
    std::set<me_id> known;
    for (const me_id id : entities.related(bridge.id, me_class::mbpcd))
        if (const me_instance* port = entities.find(id); port && known.insert(id).second)
            ports.push_back(port);
    return ports;
}

bool is_upstream(const me_instance& port)
{
    return type_of(port).side == tp_side::ani && type_of(port).class_id != me_class::multigemiw;
}

// All ports towards the ANI through which upstream frames leave, in the order of the walk.
std::vector<service_port> upstream_ports(const line_model& entities)
{
    std::vector<service_port> result;
    for (const me_instance& bridge : entities.instances(me_class::mbsp))
        for (const me_instance* port : ports_of(entities, bridge)) {
            if (!is_upstream(*port))
                continue;
            tag_set accepted = accepted_upstream(entities, *port);
            const bool unfiltered = has_all_vlans(accepted);
            result.push_back({port, &bridge, std::move(accepted), unfiltered});
        }
    return result;
}

void check_sides(const line_model& entities, const me_instance& bridge, finding_list& found)
{
    const auto ports = ports_of(entities, bridge);
    const auto has = [&](tp_side side) {
        return std::ranges::any_of(
            ports, [side](const me_instance* port) { return type_of(*port).side == side; });
    };
    if (has(tp_side::ani) && !has(tp_side::uni))
        found.add(bridge, "service-without-uni",
                  "none of its ports is on the UNI side: no frame from the fibre leaves the bridge",
                  "add a bridge port with the PPTP or VEIP of the service");
    if (has(tp_side::uni) && !has(tp_side::ani))
        found.add(bridge, "service-without-ani",
                  "none of its ports is on the ANI side: its frames leave only through the filters "
                  "of other bridges",
                  "add a bridge port with the mapper or GEM IW TP of the service");
}

void check_missing_filter(const std::vector<service_port>& ports, size_t at, finding_list& found)
{
    const service_port& port = ports[at];
    const bool another_bridge = std::ranges::any_of(
        ports, [&](const service_port& other) { return other.bridge != port.bridge; });
    if (!port.unfiltered || !another_bridge)
        return;
    const auto later =
        std::find_if(ports.begin() + static_cast<long>(at), ports.end(),
                     [&](const service_port& other) { return other.bridge != port.bridge; });
    const bool takes = later != ports.end();
    found.add(*port.me, "bridge-without-filter",
              takes ? finding_weight::problem : finding_weight::warning,
              takes ? "it accepts every VLAN, so frames of " + to_text(later->bridge->id) +
                          " leave here: " + to_text(port.bridge->id) + " is tried first"
                    : "it accepts every VLAN: frames that no other bridge accepts leave here",
              "create a VLAN_TAG_FILTER_DATA with the id of the port and the VLANs of the service");
}

bool are_untagged_only(const tag_set& tags)
{
    return tags.count() == 1 && tags[untagged_tci];
}

// Frames that an earlier port takes from this one. A port without filter has its own rule, and
// several services may accept untagged frames: the first one takes them.
void check_overlap(const std::vector<service_port>& ports, size_t at, finding_list& found)
{
    const service_port& port = ports[at];
    tag_set left = port.accepted;
    bool other_bridge = false;
    for (size_t i = 0; i < at && left.any(); ++i) {
        const service_port& earlier = ports[i];
        const tag_set both = left & earlier.accepted;
        left &= ~earlier.accepted;
        if (both.none() || earlier.bridge == port.bridge)
            continue;
        other_bridge = true;
        if (port.unfiltered || earlier.unfiltered || are_untagged_only(both))
            continue;
        found.add(*port.me, "vlan-on-two-bridges",
                  to_text(both) + " also leaves through " + to_text(earlier.me->id) + " of " +
                      to_text(earlier.bridge->id) + ", which is tried first",
                  "remove the VLAN from one of the two filters");
    }
    if (left.none() && port.accepted.any() && !other_bridge)
        found.add(*port.me, "shadowed-port",
                  "ports that are tried first accept all frames that it accepts",
                  "correct its VLAN filter or mapper, or delete the port");
}

} // namespace

void check_services(const line_model& entities, finding_list& found)
{
    for (const me_instance& bridge : entities.instances(me_class::mbsp))
        check_sides(entities, bridge, found);
    const std::vector<service_port> ports = upstream_ports(entities);
    tag_set taken;
    for (size_t at = 0; at < ports.size(); ++at) {
        check_missing_filter(ports, at, found);
        // Most ports share no frame with an earlier one.
        if ((taken & ports[at].accepted).any())
            check_overlap(ports, at, found);
        taken |= ports[at].accepted;
    }
}

} // namespace gponflow
