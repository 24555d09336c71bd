// SPDX-License-Identifier: GPL-2.0-only
/*
 * instance_dumps: dumps all instances again and again while another process creates, sets, links and
 * deletes some of them, until each case has occurred. Each record must be one that existed: the four
 * numbers of a traffic descriptor are equal, and a GEM port has no link or that of its interworking TP.
 * A dump without a mark must be a set that existed: the descriptors 1 to n are created and deleted in
 * order, so it has no gap. A dump without a mark that has a part of them, and one that has all, are cases
 * of their own. Prints the dumps, the marked ones, and the records.
 */
#define _GNU_SOURCE
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>

#include "child.h"
#include "graph.h"
#include "netlink_client.h"
#include "processor.h"

/* Dumps of each kind, and seconds for all of them. */
enum { ENOUGH = 10, PATIENCE = 120 };

enum { CTP = 268, TP = 266, DESCRIPTOR = 280, FIRST = 0x300, COUNT = 24 };

/* A socket that reads little at a time gets little at a time, so the store changes between. The kernel's
 * smallest buffers are smaller than this with every page size. */
enum { BUFFER = 8192 };

/* What one dump has of the instances that change. */
struct contents {
	unsigned int times[COUNT + 1]; /* of each descriptor */
	unsigned int values[2]; /* descriptors as they were created, and set ones */
	unsigned int linked; /* GEM ports */
};

/* Dumps without a mark: with some descriptors, all as created; with all descriptors, all set and linked. */
static unsigned long parts, wholes;
static unsigned long marked, records;
static pid_t changer;

/* In memory that both processes share. */
struct progress {
	unsigned long dumps; /* that have ended */
	unsigned long rounds; /* of changes */
};
static struct progress *progress;

static unsigned long read_progress(const unsigned long *number)
{
	return __atomic_load_n(number, __ATOMIC_SEQ_CST);
}

static void count_progress(unsigned long *number)
{
	__atomic_fetch_add(number, 1, __ATOMIC_SEQ_CST);
}

static int send_descriptor(int device, uint8_t message, unsigned int number, uint32_t value)
{
	const struct gpon_raw_td raw = { .instID = (uint16_t)(FIRST + number), .cir = value,
					 .pir = value, .cbs = value, .pbs = value };
	const struct entity entity = ENTITY(DESCRIPTOR, raw);

	return send_me(device, message, &entity);
}

/* A GEM port, and the interworking TP that refers to it. */
static int send_port(int device, uint8_t message, unsigned int number)
{
	const struct gpon_raw_gemctp ctp = { .instID = (uint16_t)(FIRST + number),
					     .portID = (uint16_t)(FIRST + number), .direction = 3 };
	const struct gpon_raw_gemiw tp = { .instID = (uint16_t)(FIRST + number),
					   .gemCTPInstID = (uint16_t)(FIRST + number) };
	const struct entity ends[] = { ENTITY(CTP, ctp), ENTITY(TP, tp) };
	const int last_first = message == ZR_OMCI_MSG_TYPE_DELETE;

	return send_me(device, message, &ends[last_first]) || send_me(device, message, &ends[!last_first]);
}

/* For a dump without a change: that in progress ends, and a whole one after it. */
static void pause_changes(void)
{
	const unsigned long wanted = read_progress(&progress->dumps) + 2;

	while (read_progress(&progress->dumps) < wanted)
		usleep(1000);
}

static int create(int device, unsigned int first, unsigned int last)
{
	int failed = 0;

	for (unsigned int i = first; i <= last; i++)
		failed |= send_descriptor(device, ZR_OMCI_MSG_TYPE_CREAT, i, i) ||
			  send_port(device, ZR_OMCI_MSG_TYPE_CREAT, i);
	return failed;
}

static int change_all(int device, unsigned long round)
{
	int failed = create(device, 1, COUNT / 2);

	pause_changes();
	failed |= create(device, COUNT / 2 + 1, COUNT);
	for (unsigned int i = 1; i <= COUNT; i++)
		failed |= send_descriptor(device, ZR_OMCI_MSG_TYPE_SET, i, 0x80000000u + (uint32_t)round);
	pause_changes();
	for (unsigned int i = COUNT; i; i--)
		failed |= send_port(device, ZR_OMCI_MSG_TYPE_DELETE, i) ||
			  send_descriptor(device, ZR_OMCI_MSG_TYPE_DELETE, i, 0);
	return failed;
}

static void change_until_killed(void)
{
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);

	stay_on(1);
	while (!change_all(device, progress->rounds))
		count_progress(&progress->rounds);
	_exit(1);
}

static void stop_changer(void)
{
	if (changer > 0 && kill(changer, SIGKILL) == 0)
		waitpid(changer, NULL, 0);
	changer = 0;
}

static void check_changer(void)
{
	if (waitpid(changer, NULL, WNOHANG) == 0)
		return;
	changer = 0;
	fail("a command fails after %lu rounds", read_progress(&progress->rounds));
}

static void start_changer(void)
{
	changer = fork_child();
	if (changer < 0)
		fail("no process for the changes: %s", strerror(errno));
	if (changer == 0)
		change_until_killed();
	atexit(stop_changer);
}

static void check_descriptor(unsigned int number, const struct gpon_raw_td *raw, struct contents *dump)
{
	if (raw->instID != FIRST + number || raw->pir != raw->cir || raw->cbs != raw->cir ||
	    raw->pbs != raw->cir)
		fail("descriptor %#x: %#x %u %u %u %u", FIRST + number, raw->instID, raw->cir,
		     raw->pir, raw->cbs, raw->pbs);
	if (raw->cir != number && raw->cir < 0x80000000u)
		fail("descriptor %#x has the value of another one: %u", FIRST + number, raw->cir);
	dump->times[number]++;
	dump->values[raw->cir >= 0x80000000u]++;
}

/* The ids of the class in the record of an instance; null if it has no row of the class. */
static const struct nlattr *links_of(const struct nlmsghdr *head, unsigned int class_id)
{
	for_each_attribute(at, (const void *)((char *)NLMSG_DATA(head) + GENL_HDRLEN),
			   head->nlmsg_len - NLMSG_HDRLEN - GENL_HDRLEN) {
		bool wanted = false;

		if (type_of(at) != GPON_FLOW_NL_INSTANCE_LINKS)
			continue;
		for_each_in(part, at) {
			if (type_of(part) == GPON_FLOW_NL_LINKS_CLASS)
				wanted = number_of(part) == class_id;
			else if (wanted && type_of(part) == GPON_FLOW_NL_LINKS_IDS)
				return part;
		}
	}
	return NULL;
}

static void check_port(unsigned int number, const struct nlmsghdr *head, struct contents *dump)
{
	const struct nlattr *ids = links_of(head, TP);
	const unsigned int bytes = ids ? ids->nla_len - NLA_HDRLEN : 0;

	if (!ids || bytes > 2 || (bytes && number_of(ids) != FIRST + number))
		fail("GEM port %#x has %u bytes of links, the first %#llx", FIRST + number, bytes,
		     ids ? (unsigned long long)number_of(ids) : 0);
	dump->linked += bytes != 0;
}

static const void *raw_of(const struct nlmsghdr *head, unsigned int bytes)
{
	for_each_attribute(at, (const void *)((char *)NLMSG_DATA(head) + GENL_HDRLEN),
			   head->nlmsg_len - NLMSG_HDRLEN - GENL_HDRLEN) {
		if (type_of(at) == GPON_FLOW_NL_INSTANCE_RAW && at->nla_len == NLA_HDRLEN + bytes)
			return data_of(at);
	}
	fail("no record of %u bytes", bytes);
}

static void check_record(const struct nlmsghdr *head, struct contents *dump)
{
	const unsigned int class_id = value_in(head, GPON_FLOW_NL_INSTANCE_CLASS);
	const unsigned int number = value_in(head, GPON_FLOW_NL_INSTANCE_ID) - FIRST;

	records++;
	if (number < 1 || number > COUNT)
		return;
	if (class_id == CTP)
		check_port(number, head, dump);
	if (class_id == DESCRIPTOR)
		check_descriptor(number, raw_of(head, sizeof(struct gpon_raw_td)), dump);
}

static void check_unmarked(const struct contents *dump)
{
	unsigned int last = COUNT;

	while (last && !dump->times[last])
		last--;
	for (unsigned int i = 1; i <= last; i++)
		if (dump->times[i] != 1)
			fail("a dump without a mark has descriptor %#x %u times, and %#x", FIRST + i,
			     dump->times[i], FIRST + last);
	parts += last > 0 && last < COUNT && dump->values[0] == last;
	wholes += last == COUNT && dump->values[1] == COUNT && dump->linked == COUNT;
}

/* The messages of one buffer; false after the last one of the dump. */
static bool check_buffer(int bytes, struct contents *dump, bool *changed)
{
	for (struct nlmsghdr *head = (void *)reply; NLMSG_OK(head, bytes);
	     head = NLMSG_NEXT(head, bytes)) {
		*changed = *changed || (head->nlmsg_flags & NLM_F_DUMP_INTR);
		if (head->nlmsg_type == NLMSG_DONE)
			return false;
		if (head->nlmsg_type == NLMSG_ERROR)
			fail("error %d", ((struct nlmsgerr *)NLMSG_DATA(head))->error);
		check_record(head, dump);
	}
	return true;
}

static void check_dump(void)
{
	struct request ask = make_request(family_id, GPON_FLOW_NL_CMD_GET_INSTANCES, NLM_F_DUMP);
	struct contents dump = { 0 };
	bool changed = false;
	ssize_t got;

	send_bytes(netlink, &ask, ask.head.nlmsg_len);
	do {
		got = recv(netlink, reply, BUFFER, MSG_TRUNC);
		if (got <= 0)
			fail("no end of a dump: %s", strerror(errno));
		if (got > BUFFER)
			fail("a dump has a buffer of %zd bytes", got);
	} while (check_buffer(got, &dump, &changed));
	count_progress(&progress->dumps);
	marked += changed;
	if (!changed)
		check_unmarked(&dump);
}

static bool saw_each_case(void)
{
	return marked >= ENOUGH && parts >= ENOUGH && wholes >= ENOUGH;
}

int main(void)
{
	const time_t end = time(NULL) + PATIENCE;

	netlink = open_netlink();
	find_family();
	/* The kernel makes its buffers as large as the largest that a socket has read into. */
	close(netlink);
	netlink = open_netlink();
	stay_on(0);
	progress = mmap(NULL, sizeof(*progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
	if (progress == MAP_FAILED)
		return 2;
	start_changer();
	while (!saw_each_case() && time(NULL) < end) {
		check_dump();
		check_changer();
	}
	printf("@@ %lu dumps of instances, %lu of them marked, %lu records, %lu rounds of changes\n",
	       read_progress(&progress->dumps), marked, records, read_progress(&progress->rounds));
	if (!saw_each_case())
		fail("not every case: without a mark %lu dumps have a part of the descriptors and %lu have all",
		     parts, wholes);
	return 0;
}
