/* SPDX-License-Identifier: GPL-2.0-only */
/* Rules as an observer sees them, and the reports of their changes. */
#ifndef GPON_HASH_RULE_EVENTS_H
#define GPON_HASH_RULE_EVENTS_H

#include "rule_table.h"

namespace gpon {

/* A copy of the rule with its uses. */
void copy_rule(const gpon_flow_rule& rule, gpon_seen_rule& seen) GPON_REQUIRES(gpon_hash_lock);

/* A number that changes with each change of the table or of the store. */
[[nodiscard]] u64 rules_revision() GPON_REQUIRES(gpon_hash_lock);

/* Each reports one change, if somebody listens. */
void report_learnt(std::span<const u8> key) GPON_REQUIRES(gpon_hash_lock);
void report_relearnt(const gpon_flow_rule& rule) GPON_REQUIRES(gpon_hash_lock);
void report_gone(const gpon_flow_rule& rule, gpon_rule_end cause) GPON_REQUIRES(gpon_hash_lock);
void report_all_gone(gpon_hash_table& table, gpon_rule_end cause) GPON_REQUIRES(gpon_hash_lock);
void report_growth(u32 buckets) GPON_REQUIRES(gpon_hash_lock);

/* Trace events. result is the counter of what became of the steps of a walk. */
void trace_learning(std::span<const u8> key, gpon_counter result) GPON_REQUIRES(gpon_hash_lock);
void trace_sweep(u32 rules, const gpon_hash_table& table) GPON_REQUIRES(gpon_hash_lock);

} // namespace gpon

#endif
