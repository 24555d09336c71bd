/* SPDX-License-Identifier: GPL-2.0-only */
/* A table of rules from packet fields to a number; the first match wins. */
#ifndef SOFTONU_MAP_RULES_H
#define SOFTONU_MAP_RULES_H

#include "softonu.h"

#define SOFTONU_RULES_MAX 64

/* The packet fields that a rule compares; a negative value matches every packet. */
enum softonu_rule_key { RULE_UNI, RULE_VID, RULE_PBIT, RULE_GEM, RULE_KEYS };

/* The vid and the pbit of a frame without tag; "untagged" in the text of a rule. */
#define RULE_UNTAGGED 0xffff

struct softonu_rule {
	int key[RULE_KEYS];
	int value;
};

struct softonu_rules {
	unsigned int count;
	struct softonu_rule rule[SOFTONU_RULES_MAX];
};

/* Returns the value of the first rule that matches, or -1. */
int softonu_rules_find(const struct softonu_rules *rules, const struct sk_buff *skb);
/* Adds a rule from words like "uni=1 vid=100 pbit=3 gem=1025" (GEM port mapping) or
 * "gem=1025 pbit=3 queue=7" (queue mapping). 0, -EINVAL or -ENOSPC. */
int softonu_rules_add(struct softonu_rules *rules, enum softonu_map which, char *words);
/* Adds a rule that matches every packet to an empty table. */
void softonu_rules_add_any(struct softonu_rules *rules, int value);
/* Prints the rules in the syntax that adds them. */
void softonu_rules_show(const struct softonu_rules *rules, enum softonu_map which,
			struct seq_file *out);

#endif
