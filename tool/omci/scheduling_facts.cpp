// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/scheduling_facts.h"

#include "include/me_class_id.h"
#include "tool/model/omci_attributes.h"
#include "tool/omci/frame.h"

namespace gponflow::omci {

namespace {

void learn_queue(queue_facts& queue, const attribute_value& value)
{
    switch (value.index) {
    case attribute_index::queue_related_port:
        queue.related_port = read_u32(value.bytes, 0);
        break;
    case attribute_index::queue_scheduler:
        queue.scheduler = read_u16(value.bytes, 0);
        break;
    case attribute_index::queue_weight:
        queue.weight = value.bytes[0];
        break;
    default:
        break;
    }
}

void learn_scheduler(scheduler_facts& scheduler, const attribute_value& value)
{
    switch (value.index) {
    case attribute_index::scheduler_tcont:
        scheduler.tcont = read_u16(value.bytes, 0);
        break;
    case attribute_index::scheduler_parent:
        scheduler.parent = read_u16(value.bytes, 0);
        break;
    case attribute_index::scheduler_policy:
        scheduler.policy = value.bytes[0];
        break;
    case attribute_index::scheduler_weight:
        scheduler.weight = value.bytes[0];
        break;
    default:
        break;
    }
}

} // namespace

void learn_scheduling(scheduling& into, me_class class_id, uint16_t instance,
                      const value_list& list)
{
    for (const attribute_value& value : list.values) {
        if (class_id == me_class::pq)
            learn_queue(into.queues[instance], value);
        else if (class_id == me_class::ts)
            learn_scheduler(into.schedulers[instance], value);
        else if (class_id == me_class::tcont && value.index == attribute_index::tcont_policy)
            into.tcont_policies[instance] = value.bytes[0];
        else if (class_id == me_class::gemctp &&
                 value.index == attribute_index::gem_ctp_downstream_queue)
            into.downstream_queues[instance] = read_u16(value.bytes, 0);
    }
}

} // namespace gponflow::omci
