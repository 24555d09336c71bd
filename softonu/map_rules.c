// SPDX-License-Identifier: GPL-2.0-only
#include <linux/if_vlan.h>

#include "map_rules.h"

/* Name of a number of a rule; in the GEM port mapping "gem" is the value. */
struct word {
	const char *name;
	int max;
	bool can_be_untagged;
};

static const struct word key_words[RULE_KEYS] = {
	[RULE_UNI] = { "uni", SOFTONU_UNIS_MAX, false },
	[RULE_VID] = { "vid", VLAN_N_VID - 1, true },
	[RULE_PBIT] = { "pbit", 7, true },
	[RULE_GEM] = { "gem", SOFTONU_GEM_ID_MAX, false },
};

static const struct word value_words[SOFTONU_MAPS] = {
	[SOFTONU_MAP_GEM] = { "gem", SOFTONU_GEM_ID_MAX, false },
	[SOFTONU_MAP_QUEUE] = { "queue", SOFTONU_NO_QUEUE - 1, false },
};

static void read_keys(const struct sk_buff *skb, int *key)
{
	const struct softonu_packet *packet = softonu_packet(skb);
	const struct vlan_ethhdr *header = (const struct vlan_ethhdr *)skb->data;

	key[RULE_UNI] = (packet->fields.port_word & SOFTONU_PORT_MASK) >> SOFTONU_PORT_SHIFT;
	key[RULE_GEM] = packet->fields.gemport_id;
	key[RULE_VID] = RULE_UNTAGGED;
	key[RULE_PBIT] = RULE_UNTAGGED;
	if (skb_headlen(skb) >= sizeof(*header) && eth_type_vlan(header->h_vlan_proto)) {
		u16 tci = ntohs(header->h_vlan_TCI);

		key[RULE_VID] = tci & VLAN_VID_MASK;
		key[RULE_PBIT] = tci >> VLAN_PRIO_SHIFT;
	}
}

static bool fits(const struct softonu_rule *rule, const int *key)
{
	unsigned int i;

	for (i = 0; i < RULE_KEYS; i++)
		if (rule->key[i] >= 0 && rule->key[i] != key[i])
			return false;
	return true;
}

int softonu_rules_find(const struct softonu_rules *rules, const struct sk_buff *skb)
{
	int key[RULE_KEYS];
	unsigned int i;

	read_keys(skb, key);
	for (i = 0; i < rules->count; i++)
		if (fits(&rules->rule[i], key))
			return rules->rule[i].value;
	return -1;
}

static void ask_nothing(struct softonu_rule *rule)
{
	unsigned int i;

	for (i = 0; i < RULE_KEYS; i++)
		rule->key[i] = -1;
	rule->value = -1;
}

static int parse_number(const struct word *word, const char *text, int *number)
{
	if (*number >= 0)
		return -EINVAL; /* named twice */
	if (word->can_be_untagged && !strcmp(text, "untagged")) {
		*number = RULE_UNTAGGED;
		return 0;
	}
	if (kstrtoint(text, 0, number) || *number < 0 || *number > word->max)
		return -EINVAL;
	return 0;
}

static int parse_word(struct softonu_rule *rule, enum softonu_map which, char *text)
{
	const char *name = strsep(&text, "=");
	unsigned int i;

	if (!text)
		return -EINVAL;
	if (!strcmp(name, value_words[which].name))
		return parse_number(&value_words[which], text, &rule->value);
	for (i = 0; i < RULE_KEYS; i++)
		if (!strcmp(name, key_words[i].name))
			return parse_number(&key_words[i], text, &rule->key[i]);
	return -EINVAL;
}

int softonu_rules_add(struct softonu_rules *rules, enum softonu_map which, char *words)
{
	struct softonu_rule rule;
	char *text;

	if (rules->count == SOFTONU_RULES_MAX)
		return -ENOSPC;
	ask_nothing(&rule);
	while ((text = strsep(&words, " \t")) != NULL) {
		int ret = *text ? parse_word(&rule, which, text) : 0;

		if (ret)
			return ret;
	}
	if (rule.value < 0)
		return -EINVAL;
	rules->rule[rules->count++] = rule;
	return 0;
}

void softonu_rules_add_any(struct softonu_rules *rules, int value)
{
	ask_nothing(&rules->rule[0]);
	rules->rule[0].value = value;
	rules->count = 1;
}

static void show_number(struct seq_file *out, const struct word *word, int number)
{
	if (number >= 0 && word->can_be_untagged && number == RULE_UNTAGGED)
		seq_printf(out, " %s=untagged", word->name);
	else if (number >= 0)
		seq_printf(out, " %s=%d", word->name, number);
}

void softonu_rules_show(const struct softonu_rules *rules, enum softonu_map which,
			struct seq_file *out)
{
	unsigned int i, k;

	for (i = 0; i < rules->count; i++) {
		seq_puts(out, "add");
		for (k = 0; k < RULE_KEYS; k++)
			show_number(out, &key_words[k], rules->rule[i].key[k]);
		show_number(out, &value_words[which], rules->rule[i].value);
		seq_putc(out, '\n');
	}
}
