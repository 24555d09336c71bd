// SPDX-License-Identifier: GPL-2.0-only
#include "walk.h"

#include "../base/log.h"
#include "../me/link_queries.h"
#include "../me/registry.h"
#include "frame_events.h"

namespace {

// Ids have 16 bits: a row with more results than that has returned one twice.
constexpr u32 MAX_RESULTS = 0x10000;

// The next result of a row: an id that the instance has recorded, otherwise an instance that has
// recorded it.
void query_next(sk_buff* skb, const gpon_me_relation_query& query,
                gpon_walk_result* result) GPON_READS_LISTS
{
    const u8 position = query.related_id->instExist;
    // Each class of a walk has a list, so only memory can be missing.
    if (gpon_flow_me_get_related_id(skb, &query) != 0)
        result->obstacles |= WALK_STEP_FAILED;
    if (query.related_id->instExist != 0)
        return;
    query.related_id->instExist = position;
    gpon_flow_me_reverse_get_related_id(skb, &query);
}

enum class row_end { next_row, done, failed };

/* One next-class row of one instance. Its steps and walk_step below are always inline: up to nine
 * levels are on the stack, and one frame per level is smaller than the three it replaces. */
struct next_class_row {
    sk_buff* skb;
    const packet_log& log;
    const gpon_fwd_info& from;
    gpon_walk_result* result;

    [[gnu::always_inline]] row_end walk(me_class next_class) GPON_READS_LISTS
    {
        gpon_me_related_id related_id = {};
        const gpon_me_relation_query query = {from.classId, from.instId, next_class, &related_id,
                                              &result->memory};
        gpon_fwd_info next = {next_class, 0, from.fwd_flag};
        for (u32 results = 0; results < MAX_RESULTS; ++results) {
            const gpon_me_related_id previous = related_id;
            query_next(skb, query, result);
            log.trace("[%s][%d] nextMeClassId=%d, inst_id=0x%x, instExist=%d,instId = 0x%x\n",
                      next_class, next.instId, related_id.instExist, related_id.instId);
            if (related_id.instExist != 1) {
                log.warning("[%s][%d] the classId(%d),related_id.instExist=%d,"
                            "related_id.instId=0x%x\n",
                            from.classId, related_id.instExist, related_id.instId);
                break;
            }
            if (gpon::is_repeated_result(query, previous))
                break;
            next.instId = related_id.instId;
            const row_end end = step(next);
            if (end != row_end::next_row || result->ret_val == FLOW_PKT_FORWARD)
                return end;
        }
        return row_end::next_row;
    }

    [[gnu::always_inline]] row_end step(const gpon_fwd_info& next) GPON_READS_LISTS
    {
        if (gpon_pkt_general_forward(skb, &next, result) != 0) {
            log.error("[%s][%d] end, nextMeClassId=%d, inst_id=0x%x, fwd_op fail.\n", next.classId,
                      next.instId);
            return row_end::failed;
        }
        switch (result->ret_val) {
        case FLOW_PKT_FORWARD:
            log.trace("[%s][%d] nextMeClassId=%d, inst_id=0x%x, FLOW_PKT_FORWARD\n", next.classId,
                      next.instId);
            return row_end::next_row;
        case FLOW_PKT_FORWARD_DONE:
            log.trace("[%s][%d] nextMeClassId=%d, inst_id=0x%x, FLOW_PKT_FORWARD_DONE\n",
                      next.classId, next.instId);
            return row_end::done;
        default:
            log.trace("[%s][%d] nextMeClassId=%d, last inst_id=0x%x, ret_val = %d\n", next.classId,
                      next.instId, result->ret_val);
            return row_end::next_row;
        }
    }
};

i32 fail_step(const sk_buff* skb, const gpon_fwd_info& step, gpon_walk_result* result)
{
    result->obstacles |= WALK_STEP_FAILED;
    gpon::trace_step(skb, step, *result, GPON_STEP_FAILED);
    return -1;
}

// The body of a step, at the depth recurse_num.
[[gnu::always_inline]] inline i32 walk_step(sk_buff* skb, const gpon_fwd_info* step,
                                            gpon_walk_result* result,
                                            const packet_log& log) GPON_READS_LISTS
{
    if (result->ret_val == FLOW_PKT_FORWARD_DONE) {
        log.trace("[%s][%d] end,classId=%d,instId=0x%x,FLOW_PKT_FORWARD_DONE\n", step->classId,
                  step->instId);
        return 0;
    }
    log.trace("[%s][%d] enter, classId=%d,instId=0x%x,fwd_flag=%d\n", step->classId, step->instId,
              step->fwd_flag);
    const gpon_me_entry* entry = gpon::find_class(step->classId);
    if (!entry || !entry->fwd_op) {
        log.error("[%s][%d] end, the classId(%d) can not get the entry or without fwd_op.\n",
                  step->classId);
        return fail_step(skb, *step, result);
    }
    result->trace.step[result->recurse_num - 1] = {step->classId, step->instId};
    if (!entry->fwd_op->forward) {
        result->ret_val = FLOW_PKT_FORWARD;
    } else if (entry->fwd_op->forward(skb, step, result) != 0) {
        log.error("[%s][%d] end, the classId(%d) fwd_op fail.\n", step->classId);
        return fail_step(skb, *step, result);
    }
    gpon::trace_step(skb, *step, *result, result->ret_val);
    if (result->ret_val == FLOW_PKT_NOT_FORWARD || result->ret_val == FLOW_PKT_FORWARD_DONE) {
        log.trace("[%s] [%d] end,  classId=%d,instId=0x%x,ret_val=%d\n", step->classId,
                  step->instId, result->ret_val);
        return 0;
    }
    log.trace("[%s][%d] classId=%d,instId=0x%x,ret_val=%d\n", step->classId, step->instId,
              result->ret_val);
    if (!entry->fwd_op->next_classes) {
        log.trace("[%s][%d] end, the classId(%d) without next me operation.\n", step->classId);
        if (result->ret_val != FLOW_PKT_FORWARD_DONE)
            result->ret_val = FLOW_PKT_NOT_FORWARD;
        return 0;
    }
    return gpon_pkt_next_forward(skb, step, result, entry->fwd_op->next_classes);
}

} // namespace

i32 gpon_pkt_next_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result,
                          const gpon_me_next_class* next_classes)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    log_trace("[%s][%d]: Enter\n");
    next_class_row row = {skb, log, *fwd_info, result};
    for (; next_classes->class_id != me_class::none; ++next_classes) {
        result->ret_val = FLOW_PKT_NOT_FORWARD;
        if (!(fwd_info->fwd_flag & next_classes->flags))
            continue;
        switch (row.walk(next_classes->class_id)) {
        case row_end::next_row:
            continue;
        case row_end::done:
            return 0;
        case row_end::failed:
            return -1;
        }
    }
    log.trace("[%s][%d] end, classId=%d,instId=0x%x\n", fwd_info->classId, fwd_info->instId);
    return 0;
}

i32 gpon_pkt_general_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    log_trace("[%s][%d]: Enter\n");
    if (!skb) {
        log_error("[%s][%d] end, Parameter is NULL: Fail\n");
        return -1;
    }
    ++result->recurse_num;
    result->decision = GPON_DECISION_NONE;
    log_trace("[%s][%d]: Enter, recurse_num = %d\n", result->recurse_num);
    i32 status = -1;
    if (result->recurse_num >= MAX_RECURSION_NUM) {
        printk("[%s][%d] end, Fail,recurse_num is MAX_RECURSION_NUM(%d)\n", __func__, __LINE__,
               MAX_RECURSION_NUM);
        result->obstacles |= WALK_TOO_DEEP;
        gpon::trace_step(skb, *fwd_info, *result, GPON_STEP_TOO_DEEP);
    } else
        status = walk_step(skb, fwd_info, result, log);
    --result->recurse_num;
    log.trace("[%s][%d] end, classId=%d,instId=0x%x, func_ret = %d,ret_val=%d,"
              "recurse_num =%d\n",
              fwd_info->classId, fwd_info->instId, status, result->ret_val, result->recurse_num);
    return status;
}
