// SPDX-License-Identifier: GPL-2.0-only
// T-CONTs and priority queues.
#include <algorithm>
#include <set>

#include "tool/check/families.h"
#include "tool/model/upstream_queue.h"
#include "tool/text/hex_text.h"

namespace gponflow {

namespace {

bool is_described(const me_instance& one)
{
    return !one.automatic;
}

void check_side(const line_model& entities, const me_instance& queue, finding_list& found)
{
    const gpon_flow_cfg_data& cfg = entities.configuration();
    // Without these there are no sides.
    if (cfg.upstream_queue_num == 0 && cfg.related_port_boundary == 0)
        return;
    const bool by_id = queue.id.instance < cfg.upstream_queue_num;
    const uint32_t port = queue.as<gpon_raw_pq>().relatedPort;
    if (by_id == (port >= cfg.related_port_boundary))
        return;
    found.add(at(queue, {"relatedPort"}), "queue-on-wrong-side",
              std::string("its id is that of ") + (by_id ? "an upstream" : "a downstream") +
                  " queue (upstream_queue_num " + std::to_string(cfg.upstream_queue_num) +
                  "), its relatedPort " + hex_text(port, 8) + " belongs to a " +
                  (by_id ? "UNI" : "T-CONT") + " (related_port_boundary " +
                  hex_text(cfg.related_port_boundary, 8) + ")",
              "correct relatedPort, or the configuration");
}

// T-CONTs to which a queue belongs, by its related port or by its scheduler.
std::set<uint16_t> tconts_with_queue(const line_model& entities)
{
    std::set<uint16_t> served;
    for (const me_instance& queue : entities.instances(me_class::pq)) {
        const auto me = queue.as<gpon_raw_pq>();
        served.insert(static_cast<uint16_t>(me.relatedPort >> 16));
        if (const me_instance* scheduler = entities.find({me_class::ts, me.tsPointer}))
            served.insert(scheduler->as<gpon_raw_ts>().tcontPointer);
    }
    return served;
}

bool carries_gem_port(const line_model& entities, uint16_t tcont)
{
    return std::ranges::any_of(entities.instances(me_class::gemctp),
                               [tcont](const me_instance& ctp) {
                                   const auto me = ctp.as<gpon_raw_gemctp>();
                                   return me.tcontID == tcont && me.direction != gem_downstream;
                               });
}

void check_tconts(const line_model& entities, finding_list& found)
{
    // A scenario that sets no queue leaves them out, and a rate controlled ONU needs none.
    if (entities.configuration().traffic_mgmt_option == rate_controlled ||
        std::ranges::none_of(entities.instances(me_class::pq), is_described))
        return;
    const std::set<uint16_t> served = tconts_with_queue(entities);
    for (const me_instance& tcont : entities.instances(me_class::tcont))
        if (!served.contains(tcont.id.instance) && carries_gem_port(entities, tcont.id.instance))
            found.add(tcont, "tcont-without-queue",
                      "GEM ports use it, but no priority queue belongs to it",
                      "set relatedPort or tsPointer of its queues");
}

} // namespace

void check_queues(const line_model& entities, finding_list& found)
{
    for (const me_instance& queue : entities.instances(me_class::pq))
        check_side(entities, queue, found);
    check_tconts(entities, found);
}

} // namespace gponflow
