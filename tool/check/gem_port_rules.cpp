// SPDX-License-Identifier: GPL-2.0-only
// GEM ports and their directions, port-IDs and T-CONTs.
#include <algorithm>

#include "tool/check/families.h"
#include "tool/model/scheduling.h"
#include "tool/text/hex_text.h"

namespace gponflow {

namespace {

bool is_known(uint32_t direction)
{
    return direction >= gem_upstream && direction <= gem_both;
}

// The module treats every direction except downstream as upstream.
uint32_t directions_of(const gpon_raw_gemctp& ctp)
{
    return is_known(ctp.direction) ? ctp.direction : gem_both;
}

void check_unicast(const line_model& entities, const me_instance& gem_iw, finding_list& found)
{
    const uint16_t id = gem_iw.as<gpon_raw_gemiw>().gemCTPInstID;
    const me_instance* ctp = entities.find({me_class::gemctp, id});
    if (ctp && ctp->as<gpon_raw_gemctp>().direction == gem_downstream)
        found.add(at(*ctp, {"direction"}), "wrong-direction",
                  "direction 2 (downstream only), but " + to_text(gem_iw.id) +
                      " points at it: no upstream frame passes",
                  "set its direction to 3, or point at it from a MULTICAST_GEM_INTERWORK_TP");
}

// The module does not depend on the following two checks: it ignores the direction downstream. The
// hardware uses it.
void check_multicast(const line_model& entities, const me_instance& gem_iw, finding_list& found)
{
    const uint16_t id = gem_iw.as<gpon_raw_multigemiw>().GemCTPInstID;
    const me_instance* ctp = entities.find({me_class::gemctp, id});
    if (ctp && ctp->as<gpon_raw_gemctp>().direction == gem_upstream)
        found.add(at(*ctp, {"direction"}), "wrong-direction", finding_weight::note,
                  "direction 1 (upstream only), but " + to_text(gem_iw.id) +
                      " points at it: it carries no downstream stream",
                  "set its direction to 2");
}

void check_known_direction(const me_instance& ctp, finding_list& found)
{
    const uint32_t direction = ctp.as<gpon_raw_gemctp>().direction;
    if (!is_known(direction))
        found.add(at(ctp, {"direction"}), "wrong-direction", finding_weight::note,
                  "direction " + std::to_string(direction) +
                      " is not defined; the module treats it as upstream",
                  "use 1 (upstream), 2 (downstream) or 3 (both)");
}

// Two CTPs may share a port-ID if each has a direction of its own.
void check_port_id(const line_model& entities, const me_instance& ctp, finding_list& found)
{
    const auto me = ctp.as<gpon_raw_gemctp>();
    for (const me_instance& other : entities.instances(me_class::gemctp)) {
        if (&other == &ctp)
            return;
        const auto first = other.as<gpon_raw_gemctp>();
        if (first.portID != me.portID || !(directions_of(first) & directions_of(me)))
            continue;
        return found.add(at(ctp, {"portID", "direction"}), "duplicate-port-id",
                         "portID " + std::to_string(me.portID) + " is also that of " +
                             to_text(other.id) + ", in the same direction",
                         "give each GEM port its own port-ID");
    }
}

void check_alloc_id(const line_model& entities, const me_instance& ctp, finding_list& found)
{
    const auto me = ctp.as<gpon_raw_gemctp>();
    if (!(directions_of(me) & gem_upstream))
        return;
    const me_instance* tcont = entities.find({me_class::tcont, me.tcontID});
    if (tcont && is_assigned_alloc_id(tcont->as<gpon_raw_tcont>().allocID))
        return;
    const std::string state =
        !tcont             ? " does not exist"
        : tcont->automatic ? " was never set"
                           : " has allocID " + hex_text(tcont->as<gpon_raw_tcont>().allocID, 2);
    found.add(at(ctp, {"tcontID"}), "gem-port-without-alloc-id",
              to_text({me_class::tcont, me.tcontID}) + state +
                  ": the OLT grants no time to upstream frames of this GEM port",
              "set allocID of its T-CONT, or tcontID of the GEM port");
}

// A scenario that sets no T-CONT leaves the alloc-IDs out.
bool describes_tconts(const line_model& entities)
{
    return std::ranges::any_of(entities.instances(me_class::tcont),
                               [](const me_instance& one) { return !one.automatic; });
}

} // namespace

void check_gem_ports(const line_model& entities, finding_list& found)
{
    for (const me_instance& gem_iw : entities.instances(me_class::gemiw))
        check_unicast(entities, gem_iw, found);
    for (const me_instance& gem_iw : entities.instances(me_class::multigemiw))
        check_multicast(entities, gem_iw, found);
    const bool with_tconts = describes_tconts(entities);
    for (const me_instance& ctp : entities.instances(me_class::gemctp)) {
        check_known_direction(ctp, found);
        check_port_id(entities, ctp, found);
        if (with_tconts)
            check_alloc_id(entities, ctp, found);
    }
}

} // namespace gponflow
