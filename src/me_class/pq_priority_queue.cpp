// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
// Priority queue (class 277, G.988 9.2.10).
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

// The whole relatedPort is compared: the boundary is between the UNI ids and the T-CONT ids in its
// upper half.
me_class class_of_port(const void* raw, const struct gpon_flow_cfg_data& cfg)
{
    const auto& me = *static_cast<const gpon_raw_pq*>(raw);
    return me.relatedPort >= cfg.related_port_boundary ? me_class::tcont : me_class::pptp;
}

constexpr gpon_me_pointer PORT = {.field = GPON_FIELD(gpon_raw_pq, relatedPort, hex),
                                  .mask = 0x400,
                                  .class_of = class_of_port,
                                  .id_shift = 16};
constexpr gpon_me_pointer SCHEDULER = {
    .field = GPON_FIELD(gpon_raw_pq, tsPointer, hex), .mask = 0x200, .class_id = me_class::ts};
constexpr gpon_me_pointer POINTERS[] = {PORT, SCHEDULER};

// The related port belongs to one of two relations. Returns 0 without a record for the other one.
i32 report_port(const gpon_me_cmd* cmd, const gpon_raw_pq* me, me_class relation) GPON_CHANGES_LISTS
{
    if (class_of_port(me, gpon_flow_cfg_data) != relation)
        return 0;
    return gpon::report_pointer(cmd, {me_class::pq, me->instID}, PORT, me);
}

// With an unconfigured (zero) divisor the remainder is the whole number.
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

u32 upstream_port(u16 inst_id, const struct gpon_flow_cfg_data& cfg)
{
    const division queue = divide(inst_id, cfg.queues_per_tcont);
    return ((cfg.tcont_base + queue.quotient + 1) << 16) + queue.remainder;
}

// The first queue of each UNI has the highest priority.
u32 downstream_port(u16 inst_id, const struct gpon_flow_cfg_data& cfg)
{
    const division queue = divide(inst_id - cfg.downstream_queue_base, cfg.queues_per_uni);
    return ((cfg.downstream_queue_base + queue.quotient) << 16) + (~queue.remainder & 7);
}

void fill_defaults(void* raw, const struct gpon_flow_cfg_data& cfg)
{
    auto& me = *static_cast<gpon_raw_pq*>(raw);
    const bool upstream = me.instID < cfg.upstream_queue_num;
    me.relatedPort = upstream ? upstream_port(me.instID, cfg) : downstream_port(me.instID, cfg);
    me.tsPointer = cfg.default_ts_pointer;
    me.weight = cfg.default_weight;
}

} // namespace

extern "C" {

i32 pq_attr_tcont_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_pq>(cmd);
    return me ? report_port(cmd, me, me_class::tcont) : -1;
}

i32 pq_attr_pptp_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_pq>(cmd);
    return me ? report_port(cmd, me, me_class::pptp) : -1;
}

i32 pq_attr_ts_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_pq>(cmd);
    return me ? gpon::report_pointer(cmd, {me_class::pq, me->instID}, SCHEDULER, me) : -1;
}

/* Defaults of a queue that the store creates, derived from its id and the default configuration;
 * instID is already set. Returns 0, or -1 for a null record. */
i32 pq_fill_raw_data(void* raw)
{
    assert_changes_lists();
    if (!raw)
        return -1;
    log_trace("[%s][%d]: Enter\n");
    fill_defaults(raw, gpon_flow_cfg_data);
    return 0;
}
}

namespace {

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::gemctp, .name = "gemCtpInst", .related_inst_num = 32}, {}};

constexpr gpon_me_attr_op ATTR_OPS[] = {{PORT.mask, pq_attr_tcont_op},
                                        {PORT.mask, pq_attr_pptp_op},
                                        {SCHEDULER.mask, pq_attr_ts_op},
                                        {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_pq_list = {&gpon_pq_list, &gpon_pq_list};

constinit const gpon_me_list_info priorityQListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_pq),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .fill_raw_data = pq_fill_raw_data,
    .attr_ops = ATTR_OPS,
    .head = &gpon_pq_list,
    .fields = FIELDS,
    .pointers = POINTERS,
    .fill_defaults = fill_defaults,
};
constinit const gpon_me_fwd_op priorityQFwdOp = {};
