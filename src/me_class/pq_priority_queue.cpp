// SPDX-License-Identifier: GPL-2.0-only
// Priority queue (class 277, G.988 9.2.10).
#include "../me/default_config.h"
#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

namespace {

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(gpon_raw_pq, instID, hex),
    GPON_FIELD(gpon_raw_pq, relatedPort, hex),
    GPON_FIELD(gpon_raw_pq, tsPointer, hex),
    GPON_FIELD(gpon_raw_pq, weight, decimal),
};

// relatedPort as a whole is compared: the boundary lies between the UNI ids and the T-CONT ids in
// its upper half.
bool is_upstream(const gpon_raw_pq& me)
{
    return me.relatedPort >= gpon_flow_cfg_data.related_port_boundary;
}

u16 related_id(const gpon_raw_pq& me)
{
    return static_cast<u16>(me.relatedPort >> 16);
}

// Division by an unconfigured (zero) divisor leaves everything in the remainder.
struct division {
    u32 quotient;
    u32 remainder;
};

division divide(u32 value, u32 divisor)
{
    if (divisor == 0)
        return {0, value};
    return {value / divisor, value % divisor};
}

u32 upstream_port(u16 inst_id)
{
    const struct gpon_flow_cfg_data& cfg = gpon_flow_cfg_data;
    const division queue = divide(inst_id, cfg.queues_per_tcont);
    return ((cfg.tcont_base + queue.quotient + 1) << 16) + queue.remainder;
}

// The first queue of each UNI has the highest priority.
u32 downstream_port(u16 inst_id)
{
    const struct gpon_flow_cfg_data& cfg = gpon_flow_cfg_data;
    const division queue = divide(inst_id - cfg.downstream_queue_base, cfg.queues_per_uni);
    return ((cfg.downstream_queue_base + queue.quotient) << 16) + (~queue.remainder & 7);
}

} // namespace

extern "C" {

i32 pq_attr_tcont_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_pq>(cmd);
    if (!me)
        return -1;
    return is_upstream(*me) ? gpon::report_link(cmd, {277, me->instID}, {262, related_id(*me)}) : 0;
}

i32 pq_attr_pptp_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_pq>(cmd);
    if (!me)
        return -1;
    return is_upstream(*me) ? 0 : gpon::report_link(cmd, {277, me->instID}, {11, related_id(*me)});
}

i32 pq_attr_ts_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_pq>(cmd);
    return me ? gpon::report_link(cmd, {277, me->instID}, {278, me->tsPointer}) : -1;
}

/* Defaults of a queue that the store creates, derived from its id and the default configuration;
 * instID is set already. 0, or -1 for a null record. */
i32 pq_fill_raw_data(void* raw)
{
    if (!raw)
        return -1;
    log_trace("[%s][%d]: Enter\n");
    auto& me = *static_cast<gpon_raw_pq*>(raw);
    const bool upstream = me.instID < gpon_flow_cfg_data.upstream_queue_num;
    me.relatedPort = upstream ? upstream_port(me.instID) : downstream_port(me.instID);
    me.tsPointer = gpon_flow_cfg_data.default_ts_pointer;
    me.weight = gpon_flow_cfg_data.default_weight;
    return 0;
}
}

namespace {

constexpr gpon_me_related_info RELATED[] = {{me_class::gemctp, "gemCtpInst", nullptr, 32}, {}};

// The related port belongs to one of two relations, told apart by its value.
constexpr gpon_me_attr_op ATTR_OPS[] = {
    {0x400, pq_attr_tcont_op}, {0x400, pq_attr_pptp_op}, {0x200, pq_attr_ts_op}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_pq_list = {&gpon_pq_list, &gpon_pq_list};

constinit const gpon_me_list_info priorityQListInfo = {
    .dump_raw = gpon::dump_fields<FIELDS>,
    .raw_size = sizeof(gpon_raw_pq),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .fill_raw_data = pq_fill_raw_data,
    .attr_ops = ATTR_OPS,
    .head = &gpon_pq_list,
    .fields = FIELDS,
};
constinit const gpon_me_fwd_op priorityQFwdOp = {};
