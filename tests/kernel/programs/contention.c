// SPDX-License-Identifier: GPL-2.0-only
/*
 * contention everything SECONDS: packets of a whole provisioning, each of which learns a rule or
 * uses one, while other processes flush the rules, change the entities of the path, dump everything
 * and trace. Twice four processes, so that each pair of interfaces runs on two processors at once.
 *
 * contention judged SECONDS: one process gives GEM port CTP 2 one port id after the other, by a
 * command, which flushes the rules; now and then it deletes the CTP, which does not. Each reply to a frame
 * of VLAN 200 must be a port id that was valid at some moment between the frame's call and its return.
 *
 * At the end of both the path still leads to the provisioned GEM port.
 */
#include <sys/mman.h>
#include <sys/wait.h>

#include "child.h"
#include "graph.h"

enum { PACKETS, COMMANDS, FLUSHES, OPERATORS, JUDGED, TALLIES };

struct tally {
	unsigned long calls;
	unsigned long wrong;
};

/* The port ids of the second part: number n is valid from a moment between begun = n and ended = n. */
struct progress {
	unsigned long begun;
	unsigned long ended;
};

static struct tally *tallies;
static struct progress *progress;
static volatile sig_atomic_t stop;

static void end(int number)
{
	(void)number;
	stop = 1;
}

static void count(int which, int wrong, const char *name)
{
	__atomic_fetch_add(&tallies[which].calls, 1, __ATOMIC_RELAXED);
	if (wrong && __atomic_fetch_add(&tallies[which].wrong, 1, __ATOMIC_RELAXED) < 10)
		printf("%s: wrong result, errno %d\n", name, errno);
}

static void send_packets(unsigned int seed)
{
	static const unsigned int vlans[] = { 0, 100, 200, 300 };
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);
	struct softonu_hook_call call;

	while (!stop) {
		const unsigned int number = (unsigned int)rand_r(&seed);
		const int ret = send_packet(softonu, number % SWITCH, number >> 4 & 0x1f,
					    number >> 12 & 1, vlans[number >> 16 & 3], &call);

		count(PACKETS, ret || call.api_result < 0 || call.api_result > 1, "packet");
	}
}

/* Each entity goes and comes back, or is set: all of them flush the rules. */
static void send_commands(unsigned int seed)
{
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);

	while (!stop) {
		const struct entity *entity = &graph[(unsigned int)rand_r(&seed) % ENTITIES];

		if (rand_r(&seed) % 2)
			count(COMMANDS, send_me(device, ZR_OMCI_MSG_TYPE_DELETE, entity), "delete");
		count(COMMANDS, send_me(device, ZR_OMCI_MSG_TYPE_CREAT, entity), "create");
		count(COMMANDS, send_me(device, ZR_OMCI_MSG_TYPE_SET, entity), "set");
		if (rand_r(&seed) % 256 == 0)
			count(COMMANDS, provision(device), "provisioning");
		/* Rules need time to be learnt. */
		usleep(1000);
	}
}

/* Eight states follow each other: without GEM port CTP 2, with one that nothing refers to, and six
 * with a path. The first one is a change without a flush: rules that lead to the CTP stay. */
enum { DELETED, UNLINKED, LINKED };

static int kind_of(unsigned long number)
{
	return number % 8 < LINKED ? (int)(number % 8) : LINKED;
}

static uint16_t port_of(unsigned long number)
{
	return (uint16_t)(2000 + number % 2000);
}

static int send_ctp(int device, uint8_t message, unsigned long number)
{
	const struct gpon_raw_gemctp raw = { .instID = 2, .portID = port_of(number),
					     .tcontID = 0x8001, .direction = 3 };
	const struct entity entity = ENTITY(268, raw);

	return send_me(device, message, &entity);
}

static int change_to(int device, unsigned long number)
{
	const struct entity tp = ENTITY(266, iw2);

	switch (kind_of(number)) {
	case DELETED:
		return write_proc("clean raw_data 268 2");
	case UNLINKED:
		return send_ctp(device, ZR_OMCI_MSG_TYPE_CREAT, number + 1);
	default:
		return number % 8 == LINKED ? send_me(device, ZR_OMCI_MSG_TYPE_SET, &tp) :
					      send_ctp(device, ZR_OMCI_MSG_TYPE_SET, number);
	}
}

static int enter_state(int device, unsigned long number)
{
	int ret;

	__atomic_store_n(&progress->begun, number, __ATOMIC_SEQ_CST);
	ret = change_to(device, number);
	__atomic_store_n(&progress->ended, number, __ATOMIC_SEQ_CST);
	return ret;
}

static void change_the_port(unsigned int seed)
{
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);

	(void)seed;
	for (unsigned long number = progress->ended + 1; !stop; number++) {
		count(COMMANDS, enter_state(device, number), "set");
		/* Every few states last long enough for frames that use a rule and its outcome. */
		if (number % 4 == 3 || number % 8 <= UNLINKED)
			usleep(2000);
	}
}

static int has_port(const struct softonu_hook_call *call, unsigned long number)
{
	return call->api_result == 0 && call->gemport_id == port_of(number);
}

/*
 * A walk fails without a path, and the replay of a rule that is still there writes no port id. A
 * replay that began before the CTP was created may have found its rule before the command flushed
 * it: it writes the port id of the new CTP, to which no walk leads yet.
 */
static int fits(const struct softonu_hook_call *call, unsigned long number, unsigned long ended)
{
	switch (kind_of(number)) {
	case DELETED:
		return call->api_result == 1 || (call->api_result == 0 && call->gemport_id == 0);
	case UNLINKED:
		return call->api_result == 1 || (ended < number && has_port(call, number + 1));
	default:
		return has_port(call, number);
	}
}

/* Looks for the state that the reply shows, no earlier than the one of the frame before. */
static void judge_frames(unsigned int seed)
{
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);
	unsigned long seen = 0;

	while (!stop) {
		const unsigned long ended = __atomic_load_n(&progress->ended, __ATOMIC_SEQ_CST);
		const unsigned long first = ended > seen ? ended : seen;
		struct softonu_hook_call call;
		const int ret = send_packet(softonu, UP_ANI, seed % 2, 2, 200, &call);
		const unsigned long last = __atomic_load_n(&progress->begun, __ATOMIC_SEQ_CST);

		for (seen = first; seen <= last && !fits(&call, seen, ended);)
			seen++;
		if (seen > last && tallies[JUDGED].wrong < 10)
			printf("result %d, GEM port %u in states %lu to %lu, %lu ended before\n",
			       call.api_result, call.gemport_id, first, last, ended);
		count(JUDGED, ret || seen > last, "reply of another time");
		if (seen > last)
			seen = first;
	}
}

static void flush_rules(unsigned int seed)
{
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);

	while (!stop) {
		count(FLUSHES, send_words(device, "clean flow_rule 0 0"), "flush");
		count(FLUSHES, send_configuration(device), "configuration");
		usleep(2000 + (unsigned int)rand_r(&seed) % 2000);
	}
}

static void operate(unsigned int seed)
{
	static const char *const lines[] = {
		"show flow_rule", "show raw_data", "show en_flag", "set enable 1",
		"set trace dst_mac 02:00:00:00:00:01", "set trace outer_vlan 100",
		"set trace disable", "set debug_level 1", "set debug_level 0", "help",
	};
	char text[64];

	while (!stop) {
		const int entry = open_or_exit("/proc/gpon_flow/debug", O_RDONLY);

		count(OPERATORS, read(entry, text, sizeof(text)) < 0, "read");
		close(entry);
		count(OPERATORS,
		      write_proc(lines[(unsigned int)rand_r(&seed) % (sizeof(lines) / sizeof(*lines))]),
		      "line");
		usleep(500);
	}
}

static pid_t start(void (*work)(unsigned int), unsigned int seed)
{
	const pid_t child = fork_child();

	if (child < 0) {
		perror("fork");
		exit(2);
	}
	if (child == 0) {
		signal(SIGTERM, end);
		work(seed);
		exit(0);
	}
	return child;
}

/* An upstream frame of VLAN 200 must end at GEM port 1026. */
static int outcome_is_right(int device, int softonu)
{
	struct softonu_hook_call call;

	if (write_proc("set debug_level 0") || write_proc("set trace disable") ||
	    provision(device) || switch_engine(softonu, 1))
		return 0;
	for (int i = 0; i < 2; i++)
		if (send_packet(softonu, UP_ANI, 1, 2, 200, &call) || call.gemport_id != 1026) {
			printf("VLAN 200 leads to GEM port %u\n", call.gemport_id);
			return 0;
		}
	return 1;
}

/* Prints the calls of those that took part, and returns how many of them gave wrong results, or none. */
static int judge_tallies(unsigned int parts)
{
	static const char *const names[] = { "packets", "commands", "flushes", "operators",
					     "judged" };
	int wrong = 0;

	for (int i = 0; i < TALLIES; i++) {
		if (!(parts & 1u << i))
			continue;
		printf("@@ %s: %lu calls, %lu wrong results\n", names[i], tallies[i].calls,
		       tallies[i].wrong);
		wrong += tallies[i].wrong != 0 || tallies[i].calls == 0;
	}
	return wrong;
}

/* Runs each function in a process for that time. Returns how many failed. */
static int run_all(void (*const *work)(unsigned int), unsigned int count, unsigned int seconds)
{
	pid_t children[8];
	int failed = 0;

	for (unsigned int i = 0; i < count; i++)
		children[i] = start(work[i], i + 1);
	sleep(seconds);
	for (unsigned int i = 0; i < count; i++)
		kill(children[i], SIGTERM);
	for (unsigned int i = 0; i < count; i++) {
		int status = 0;

		waitpid(children[i], &status, 0);
		failed += status != 0;
	}
	return failed;
}

static int run_everything(unsigned int seconds)
{
	static void (*const work[])(unsigned int) = {
		send_packets, send_commands, flush_rules, operate,
		send_packets, send_commands, flush_rules, operate,
	};
	const int failed = run_all(work, sizeof(work) / sizeof(*work), seconds);

	return failed + judge_tallies(1u << PACKETS | 1u << COMMANDS | 1u << FLUSHES |
				      1u << OPERATORS);
}

static int run_judged(int device, int softonu, unsigned int seconds)
{
	static void (*const work[])(unsigned int) = {
		judge_frames, judge_frames, change_the_port, flush_rules, operate,
	};
	struct softonu_hook_call call;
	int failed;

	if (enter_state(device, 3) || send_packet(softonu, UP_ANI, 0, 2, 200, &call) ||
	    call.gemport_id != port_of(3)) {
		printf("no start of the port ids\n");
		return 1;
	}
	failed = run_all(work, sizeof(work) / sizeof(*work), seconds);
	printf("@@ %lu port ids\n", progress->ended);
	return failed + judge_tallies(1u << COMMANDS | 1u << FLUSHES | 1u << OPERATORS |
				      1u << JUDGED);
}

int main(int words, char **arguments)
{
	const int judged = words > 1 && !strcmp(arguments[1], "judged");
	const unsigned int seconds = words > 2 ? (unsigned int)atoi(arguments[2]) : 10;
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);
	int wrong;

	tallies = mmap(NULL, sizeof(*tallies) * TALLIES + sizeof(*progress), PROT_READ | PROT_WRITE,
		       MAP_SHARED | MAP_ANONYMOUS, -1, 0);
	if (tallies == MAP_FAILED || !outcome_is_right(device, softonu)) {
		printf("no start\n");
		return 2;
	}
	progress = (struct progress *)(tallies + TALLIES);
	wrong = judged ? run_judged(device, softonu, seconds) : run_everything(seconds);
	return wrong || !outcome_is_right(device, softonu);
}
