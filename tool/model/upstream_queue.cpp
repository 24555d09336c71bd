// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/upstream_queue.h"

#include <algorithm>

namespace gponflow {

namespace {

// A pointer that cannot be meant for the T-CONT.
bool names_another_queue(const me_instance& ctp)
{
    const auto me = ctp.as<gpon_raw_gemctp>();
    return me.trafficMgrPtrUp != 0 && me.trafficMgrPtrUp != me.tcontID;
}

bool has_upstream_queues(const line_model& entities)
{
    return entities.configuration().related_port_boundary != 0 ||
           std::ranges::any_of(entities.instances(me_class::gemctp), names_another_queue);
}

bool is_set(const line_model& entities, me_id queue)
{
    const me_instance* found = entities.find(queue);
    return found && !found->automatic;
}

} // namespace

std::optional<me_id> upstream_queue(const me_instance& ctp, const line_model& entities)
{
    const me_id id{me_class::pq, ctp.as<gpon_raw_gemctp>().trafficMgrPtrUp};
    if (id.instance == 0 || entities.configuration().traffic_mgmt_option == rate_controlled)
        return {};
    if (names_another_queue(ctp) || is_set(entities, id) || has_upstream_queues(entities))
        return id;
    return {};
}

} // namespace gponflow
