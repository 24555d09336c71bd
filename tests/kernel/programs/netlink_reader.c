// SPDX-License-Identifier: GPL-2.0-only
/*
 * Prints the messages of the netlink family and tries its limits.
 *
 * usage: netlink_reader state|counters|rules|instances    print one line a message
 *        netlink_reader events                            print events until it is killed
 *        netlink_reader hold                              begin a dump of the rules, read the rest at the end of
 *                                                         input
 *        netlink_reader stopped                           join, read nothing until the end of input, then count
 *                                                         events until that of a created instance
 *        netlink_reader foreign                           listen in another network namespace until the end of
 *                                                         input
 *        netlink_reader cut                               close each dump after every number of buffers
 *        netlink_reader hostile                           send requests that have to be refused
 *        netlink_reader unprivileged                      what a user without rights gets
 */
#define _GNU_SOURCE
#include <sched.h>

#include "netlink_client.h"

static void print_mac(const struct nlattr *at)
{
	const uint8_t *mac = data_of(at);

	printf("%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

/* The value of an attribute in a nest; a number that no u16 has if it is absent. */
static uint64_t number_in(const struct nlattr *nest, unsigned int type)
{
	for_each_in(at, nest)
		if (type_of(at) == type)
			return number_of(at);
	return 0x10000;
}

static void print_pair(const char *name, const struct nlattr *nest, unsigned int first,
		       unsigned int second)
{
	printf(" %s=0x%llx/0x%llx", name, (unsigned long long)number_in(nest, first),
	       (unsigned long long)number_in(nest, second));
}

static void print_rule_part(const struct nlattr *at)
{
	static const char *const names[] = {
		[GPON_FLOW_NL_RULE_DIRECTION] = "direction", [GPON_FLOW_NL_RULE_USED] = "used",
		[GPON_FLOW_NL_RULE_GEM_PORT] = "gem", [GPON_FLOW_NL_RULE_HITS] = "hits",
		[GPON_FLOW_NL_RULE_IDLE_MS] = "idle", [GPON_FLOW_NL_RULE_END] = "end",
		[GPON_FLOW_NL_RULE_EVENT] = "event",
	};

	if (type_of(at) == GPON_FLOW_NL_RULE_DST_MAC || type_of(at) == GPON_FLOW_NL_RULE_SRC_MAC) {
		printf(" %s=", type_of(at) == GPON_FLOW_NL_RULE_DST_MAC ? "dst" : "src");
		print_mac(at);
	} else if (type_of(at) == GPON_FLOW_NL_RULE_TAG) {
		print_pair("tag", at, GPON_FLOW_NL_TAG_TPID, GPON_FLOW_NL_TAG_TCI);
	} else if (type_of(at) == GPON_FLOW_NL_RULE_STEP) {
		print_pair("step", at, GPON_FLOW_NL_STEP_CLASS, GPON_FLOW_NL_STEP_INSTANCE);
	} else if (type_of(at) < sizeof(names) / sizeof(*names) && names[type_of(at)]) {
		printf(" %s=%llu", names[type_of(at)], (unsigned long long)number_of(at));
	}
}

static void print_links(const struct nlattr *links)
{
	for_each_in(at, links) {
		if (type_of(at) == GPON_FLOW_NL_LINKS_CLASS)
			printf(" links%llu=%s", (unsigned long long)number_of(at), "");
		for (int i = 0; type_of(at) == GPON_FLOW_NL_LINKS_IDS &&
				i < (at->nla_len - NLA_HDRLEN) / 2; i++)
			printf("%s0x%x", i ? "," : "", ((const uint16_t *)data_of(at))[i]);
	}
}

static void print_instance_part(const struct nlattr *at)
{
	const uint8_t *raw = data_of(at);

	switch (type_of(at)) {
	case GPON_FLOW_NL_INSTANCE_CLASS:
		printf(" class=%llu", (unsigned long long)number_of(at));
		break;
	case GPON_FLOW_NL_INSTANCE_CLASS_NAME:
		printf(" %s", (const char *)raw);
		break;
	case GPON_FLOW_NL_INSTANCE_ID:
		printf(" id=0x%llx", (unsigned long long)number_of(at));
		break;
	case GPON_FLOW_NL_INSTANCE_RAW:
		printf(" raw=");
		for (int i = 0; i < at->nla_len - NLA_HDRLEN; i++)
			printf("%02x", raw[i]);
		break;
	case GPON_FLOW_NL_INSTANCE_LINKS:
		print_links(at);
		break;
	case GPON_FLOW_NL_INSTANCE_CHANGE:
		printf(" change=%llu", (unsigned long long)number_of(at));
		break;
	case GPON_FLOW_NL_INSTANCE_EVENT:
		printf(" event=%llu", (unsigned long long)number_of(at));
		break;
	}
}

static void print_state_part(const struct nlattr *at)
{
	static const char *const names[] = {
		[GPON_FLOW_NL_STATE_ENGINE] = "engine", [GPON_FLOW_NL_STATE_RULES] = "rules",
		[GPON_FLOW_NL_STATE_BUCKETS] = "buckets",
		[GPON_FLOW_NL_STATE_THRESHOLD] = "threshold", [GPON_FLOW_NL_STATE_EVENT] = "event",
	};

	if (type_of(at) < sizeof(names) / sizeof(*names) && names[type_of(at)])
		printf(" %s=%llu", names[type_of(at)], (unsigned long long)number_of(at));
}

static void print_counter_part(const struct nlattr *at)
{
	if (type_of(at) == GPON_FLOW_NL_COUNTER_NAME)
		printf("%s", (const char *)data_of(at));
	if (type_of(at) == GPON_FLOW_NL_COUNTER_VALUE)
		printf(" %llu", (unsigned long long)number_of(at));
}

static void print_message(const struct nlmsghdr *head)
{
	static const struct {
		const char *name;
		void (*print)(const struct nlattr *at);
	} kinds[] = {
		[GPON_FLOW_NL_CMD_GET_STATE] = { "state", print_state_part },
		[GPON_FLOW_NL_CMD_GET_COUNTERS] = { "", print_counter_part },
		[GPON_FLOW_NL_CMD_GET_RULES] = { "rule", print_rule_part },
		[GPON_FLOW_NL_CMD_GET_INSTANCES] = { "instance", print_instance_part },
		[GPON_FLOW_NL_CMD_RULE_LEARNT] = { "learnt", print_rule_part },
		[GPON_FLOW_NL_CMD_RULE_GONE] = { "gone", print_rule_part },
		[GPON_FLOW_NL_CMD_INSTANCE_CHANGED] = { "changed", print_instance_part },
		[GPON_FLOW_NL_CMD_TABLE_GROWN] = { "grown", print_state_part },
		[GPON_FLOW_NL_CMD_RULE_RELEARNT] = { "relearnt", print_rule_part },
	};
	const struct genlmsghdr *generic = NLMSG_DATA(head);

	if (generic->cmd >= sizeof(kinds) / sizeof(*kinds) || !kinds[generic->cmd].print)
		fail("unknown message %u", generic->cmd);
	printf("%s", kinds[generic->cmd].name);
	for_each_attribute(at, (const void *)((char *)generic + GENL_HDRLEN),
			   head->nlmsg_len - NLMSG_HDRLEN - GENL_HDRLEN) {
		kinds[generic->cmd].print(at);
	}
	printf("\n");
}

/* Prints the messages of a dump; false after the last one. */
static bool print_reply(int bytes)
{
	for (struct nlmsghdr *head = (void *)reply; NLMSG_OK(head, bytes);
	     head = NLMSG_NEXT(head, bytes)) {
		if (head->nlmsg_flags & NLM_F_DUMP_INTR)
			printf("interrupted\n");
		if (head->nlmsg_type == NLMSG_DONE)
			return false;
		if (head->nlmsg_type == NLMSG_ERROR)
			fail("error %d", ((struct nlmsgerr *)NLMSG_DATA(head))->error);
		print_message(head);
		if (!(head->nlmsg_flags & NLM_F_MULTI))
			return false;
	}
	return true;
}

static void show_replies(void)
{
	int bytes;

	do {
		bytes = receive(netlink);
		if (bytes <= 0)
			fail("no reply: %d", bytes);
	} while (print_reply(bytes));
}

static void show(uint8_t command, uint16_t flags)
{
	struct request ask = make_request(family_id, command, flags);

	send_bytes(netlink, &ask, ask.head.nlmsg_len);
	show_replies();
}

static void follow_events(void)
{
	int bytes;

	join_events();
	printf("listening\n");
	fflush(stdout);
	for (;;) {
		bytes = receive(netlink);
		if (bytes == -ENOBUFS)
			printf("lost\n");
		else if (bytes > 0)
			print_reply(bytes);
		fflush(stdout);
	}
}

/* How many numbers are missing is known from the next event, or from the state at the beginning. */
static void count_events_late(void)
{
	uint32_t last, received = 0, missing = 0, overruns = 0;
	char byte;

	join_events();
	last = last_event();
	printf("listening since=%u\n", last);
	fflush(stdout);
	while (read(0, &byte, 1) > 0)
		;
	for (;;) {
		const struct nlmsghdr *head = (const void *)reply;
		const struct genlmsghdr *generic = NLMSG_DATA(head);
		int got = receive(netlink);

		if (got == -ENOBUFS) {
			overruns++;
			continue;
		}
		if (got <= 0)
			fail("no event of an instance: %d", got);
		received++;
		missing += event_of(head) - last - 1;
		last = event_of(head);
		if (generic->cmd == GPON_FLOW_NL_CMD_INSTANCE_CHANGED)
			break;
	}
	printf("received=%u\nmissing=%u\noverruns=%u\nlast=%u\n", received, missing, overruns, last);
}

/* The kernel counts it as a listener and sends it nothing. */
static void listen_elsewhere(void)
{
	char byte;

	close(netlink);
	if (unshare(CLONE_NEWNET))
		fail("no network namespace: %s", strerror(errno));
	netlink = open_netlink();
	printf("%s\n", try_to_join() ? "not listening" : "listening");
	fflush(stdout);
	while (read(0, &byte, 1) > 0)
		;
	if (recv(netlink, reply, sizeof(reply), MSG_DONTWAIT) >= 0 || errno != EAGAIN)
		fail("events of another network namespace");
}

/* Closes a dump after so many buffers; false if it had fewer. */
static bool cut_dump(uint8_t command, int buffers)
{
	struct request ask = make_request(family_id, command, NLM_F_DUMP);
	const struct nlmsghdr *head = (const void *)reply;
	int other = open_netlink(), small = 1;
	bool ended = false;

	setsockopt(other, SOL_SOCKET, SO_RCVBUF, &small, sizeof(small));
	send_bytes(other, &ask, ask.head.nlmsg_len);
	for (; buffers && !ended; buffers--) {
		int bytes = receive(other);

		if (bytes <= 0)
			fail("dump %u: %d", command, bytes);
		for (head = (const void *)reply; NLMSG_OK(head, bytes);
		     head = NLMSG_NEXT(head, bytes))
			ended = ended || head->nlmsg_type == NLMSG_DONE;
	}
	close(other);
	return !ended;
}

static void cut_dumps(void)
{
	for (uint8_t command = GPON_FLOW_NL_CMD_GET_COUNTERS;
	     command <= GPON_FLOW_NL_CMD_GET_INSTANCES; command++) {
		int buffers = 0;

		while (cut_dump(command, buffers))
			buffers++;
		printf("%u: %d buffers\n", command, buffers);
	}
	show(GPON_FLOW_NL_CMD_GET_STATE, 0);
}

/* A reader that pauses: the dump stays open as long as its buffer is full. */
static void hold(void)
{
	struct request ask = make_request(family_id, GPON_FLOW_NL_CMD_GET_RULES, NLM_F_DUMP);
	int small = 1;
	char byte;

	/* The kernel makes its buffers as large as the largest that a socket has read into. */
	close(netlink);
	netlink = open_netlink();
	setsockopt(netlink, SOL_SOCKET, SO_RCVBUF, &small, sizeof(small));
	send_bytes(netlink, &ask, ask.head.nlmsg_len);
	printf("holding\n");
	fflush(stdout);
	while (read(0, &byte, 1) > 0)
		;
	show_replies();
}

/* The error of a request; 0 for any other reply. */
static int error_of(const void *bytes, size_t count)
{
	const struct nlmsghdr *head = (const void *)reply;
	int got, error = 0;

	send_bytes(netlink, bytes, count);
	got = receive(netlink);
	if (got <= 0)
		fail("no reply to a bad request: %d", got);
	if (head->nlmsg_type == NLMSG_ERROR)
		error = ((const struct nlmsgerr *)NLMSG_DATA(head))->error;
	while (error == 0 && (head->nlmsg_flags & NLM_F_MULTI) && head->nlmsg_type != NLMSG_DONE)
		if (receive(netlink) <= 0)
			fail("a dump without an end");
	return error;
}

static void expect_refused(const char *name, struct request *ask)
{
	int error = error_of(ask, ask->head.nlmsg_len);

	if (error >= 0)
		fail("%s: not refused", name);
	printf("%s: %s\n", name, strerror(-error));
}

static void refuse_attributes(uint8_t command, uint16_t flags)
{
	const char filler[64] = { 0 };

	for (uint16_t type = 0; type < 20; type++)
		for (uint16_t bytes = 0; bytes <= sizeof(filler); bytes += 21) {
			struct request ask = make_request(family_id, command, flags);

			add_attribute(&ask, type, filler, bytes);
			if (error_of(&ask, ask.head.nlmsg_len) >= 0)
				fail("command %u takes attribute %u of %u bytes", command, type,
				     bytes);
		}
}

/* Attributes whose length is wrong: shorter than their header, longer than the message, a nest whose
 * contents are. */
static void refuse_broken_attributes(uint8_t command, uint16_t flags)
{
	static const uint16_t lengths[] = { 0, 1, 3, 4, 5, 8, 9, 64, 0x7fff, 0xffff };

	for (size_t i = 0; i < sizeof(lengths) / sizeof(*lengths); i++)
		for (int nested = 0; nested < 2; nested++) {
			struct request ask = make_request(family_id, command, flags);
			struct nlattr inner = { .nla_len = lengths[i], .nla_type = 1 };
			struct nlattr *outer = (struct nlattr *)((char *)&ask + ask.head.nlmsg_len);

			add_attribute(&ask, nested ? NLA_F_NESTED | 1 : 1, &inner, sizeof(inner));
			if (!nested)
				outer->nla_len = lengths[i];
			if (error_of(&ask, ask.head.nlmsg_len) >= 0 && (nested || lengths[i] >= 4))
				fail("command %u takes an attribute of length %u%s", command,
				     lengths[i], nested ? " in a nest" : "");
		}
}

/* The version is not tested by the kernel: a reader of any version gets a reply. */
static void ask_with_versions(void)
{
	for (int version = 0; version < 256; version++) {
		struct request ask = make_request(family_id, GPON_FLOW_NL_CMD_GET_STATE, 0);

		ask.generic.version = version;
		if (error_of(&ask, ask.head.nlmsg_len) != 0)
			fail("version %d is refused", version);
	}
}

/* Every length from nothing to a whole request, and headers that lie about it. The kernel ignores
 * what is no whole message. It replies to a request that follows them. */
static void send_fragments(void)
{
	for (uint32_t length = 0; length <= 40; length++)
		for (uint32_t claimed = 0; claimed <= 48; claimed += 4) {
			struct request ask = make_request(family_id, GPON_FLOW_NL_CMD_GET_RULES,
							  NLM_F_DUMP);
			int other = open_netlink();

			ask.head.nlmsg_len = claimed;
			if (length)
				send_bytes(other, &ask, length);
			close(other);
		}
	show(GPON_FLOW_NL_CMD_GET_STATE, 0);
}

static void be_hostile(void)
{
	static const uint8_t dumps[] = { GPON_FLOW_NL_CMD_GET_COUNTERS, GPON_FLOW_NL_CMD_GET_RULES,
					 GPON_FLOW_NL_CMD_GET_INSTANCES };
	struct request ask;

	for (int command = 0; command < 256; command++) {
		bool known = command >= GPON_FLOW_NL_CMD_GET_STATE &&
			     command <= GPON_FLOW_NL_CMD_GET_INSTANCES;

		ask = make_request(family_id, command, 0);
		if (!known || command != GPON_FLOW_NL_CMD_GET_STATE) {
			if (error_of(&ask, ask.head.nlmsg_len) >= 0)
				fail("command %d without a dump is taken", command);
		}
		ask = make_request(family_id, command, NLM_F_DUMP);
		if (!known || command == GPON_FLOW_NL_CMD_GET_STATE) {
			if (error_of(&ask, ask.head.nlmsg_len) >= 0)
				fail("dump %d is taken", command);
		}
	}
	refuse_attributes(GPON_FLOW_NL_CMD_GET_STATE, 0);
	refuse_broken_attributes(GPON_FLOW_NL_CMD_GET_STATE, 0);
	for (size_t i = 0; i < sizeof(dumps); i++) {
		refuse_attributes(dumps[i], NLM_F_DUMP);
		refuse_broken_attributes(dumps[i], NLM_F_DUMP);
	}
	ask_with_versions();
	ask = make_request(family_id, GPON_FLOW_NL_CMD_GET_STATE, 0);
	ask.generic.cmd = GPON_FLOW_NL_CMD_RULE_LEARNT;
	expect_refused("an event as a request", &ask);
	send_fragments();
	printf("refused\n");
}

/* The effective user is nobody. */
static void be_unprivileged(void)
{
	struct request ask = make_request(family_id, GPON_FLOW_NL_CMD_GET_STATE, 0);

	if (setgid(65534) || setuid(65534))
		fail("still root");
	expect_refused("state", &ask);
	ask = make_request(family_id, GPON_FLOW_NL_CMD_GET_RULES, NLM_F_DUMP);
	expect_refused("rules", &ask);
	if (group_id && !setsockopt(netlink, SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group_id,
				    sizeof(group_id)))
		fail("anybody may listen");
	printf("events: %s\n", group_id ? strerror(errno) : "no group");
}

int main(int argc, char **argv)
{
	const char *task = argc == 2 ? argv[1] : "";

	netlink = open_netlink();
	find_family();
	if (!strcmp(task, "state"))
		show(GPON_FLOW_NL_CMD_GET_STATE, 0);
	else if (!strcmp(task, "counters"))
		show(GPON_FLOW_NL_CMD_GET_COUNTERS, NLM_F_DUMP);
	else if (!strcmp(task, "rules"))
		show(GPON_FLOW_NL_CMD_GET_RULES, NLM_F_DUMP);
	else if (!strcmp(task, "instances"))
		show(GPON_FLOW_NL_CMD_GET_INSTANCES, NLM_F_DUMP);
	else if (!strcmp(task, "events"))
		follow_events();
	else if (!strcmp(task, "hold"))
		hold();
	else if (!strcmp(task, "stopped"))
		count_events_late();
	else if (!strcmp(task, "foreign"))
		listen_elsewhere();
	else if (!strcmp(task, "cut"))
		cut_dumps();
	else if (!strcmp(task, "hostile"))
		be_hostile();
	else if (!strcmp(task, "unprivileged"))
		be_unprivileged();
	else
		fail("usage: see the head of netlink_reader.c");
	return 0;
}
