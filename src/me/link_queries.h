/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Relation queries: one instance at a time along the links of the configuration, in either sense.
 *
 * A link is stored with the instance that is pointed at. The forward query lists what an instance
 * has recorded; the reverse query lists the instances that have recorded a given one. Both are
 * iterators: they take the previous result and return the next one. Each call starts its own scan.
 * Packet path, inside an RCU read section. skb serves the trace control of the messages.
 */
#ifndef GPON_ME_LINK_QUERIES_H
#define GPON_ME_LINK_QUERIES_H

#include "../base/log.h"
#include "../include/me_class.h"

extern "C" {

/* The instances of related_class_id that inst_id of class_id has recorded. Returns 0 with or
 * without a result; -1 for a null argument, an unknown class or no memory. */
i32 gpon_flow_me_get_related_id(const sk_buff* skb,
                                const gpon_me_relation_query* query) GPON_READS_LISTS;

/* The same step over one related-info table; -1 for a null table or result. */
i32 gpon_flow_list_get_related_id(const sk_buff* skb, const gpon_me_related_info* related,
                                  me_class related_class_id,
                                  gpon_me_related_id* related_id) GPON_READS_LISTS;

/* The instances of related_class_id that have recorded inst_id of class_id, in list order. Returns
 * 0 with a result; -1 without one, for a null argument or an unknown class. */
i32 gpon_flow_me_reverse_get_related_id(const sk_buff* skb,
                                        const gpon_me_relation_query* query) GPON_READS_LISTS;
}

namespace gpon {

/* True if a result was tried before: it is the previous one, or is in the forward query's array
 * before the previous one, because the same id was recorded twice. Following it would loop forever.
 * Prints nothing. */
[[nodiscard]] bool is_repeated_result(const gpon_me_relation_query& query,
                                      gpon_me_related_id previous) GPON_READS_LISTS;

} // namespace gpon

#endif
