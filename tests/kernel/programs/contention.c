// SPDX-License-Identifier: GPL-2.0-only
/*
 * contention SECONDS: packets of a whole provisioning, each of which learns a rule or uses one,
 * while other processes flush the rules, change the entities of the path, dump everything and
 * trace. Twice four processes, so that each pair of interfaces runs on two processors at once. At
 * the end the path still leads to the provisioned GEM port.
 */
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include "graph.h"

enum { PACKETS, COMMANDS, FLUSHES, OPERATORS, TALLIES };

struct tally {
	unsigned long calls;
	unsigned long wrong;
};

static struct tally *tallies;
static volatile sig_atomic_t stop;

static void end(int number)
{
	(void)number;
	stop = 1;
}

static void count(int which, int wrong, const char *what)
{
	__atomic_fetch_add(&tallies[which].calls, 1, __ATOMIC_RELAXED);
	if (wrong && __atomic_fetch_add(&tallies[which].wrong, 1, __ATOMIC_RELAXED) < 10)
		printf("%s: wrong answer, errno %d\n", what, errno);
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
	const pid_t child = fork();

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

static void say(void)
{
	static const char *const names[] = { "packets", "commands", "flushes", "operators" };

	for (int i = 0; i < TALLIES; i++)
		printf("@@ %s: %lu calls, %lu wrong answers\n", names[i], tallies[i].calls,
		       tallies[i].wrong);
}

int main(int words, char **arguments)
{
	static void (*const work[])(unsigned int) = { send_packets, send_commands, flush_rules,
						      operate };
	const unsigned int seconds = words > 1 ? (unsigned int)atoi(arguments[1]) : 10;
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);
	pid_t children[8];
	int wrong = 0;

	tallies = mmap(NULL, sizeof(*tallies) * TALLIES, PROT_READ | PROT_WRITE,
		       MAP_SHARED | MAP_ANONYMOUS, -1, 0);
	if (tallies == MAP_FAILED || !outcome_is_right(device, softonu)) {
		printf("no start\n");
		return 2;
	}
	for (unsigned int i = 0; i < 8; i++)
		children[i] = start(work[i % 4], i + 1);
	sleep(seconds);
	for (int i = 0; i < 8; i++)
		kill(children[i], SIGTERM);
	for (int i = 0; i < 8; i++) {
		int status = 0;

		waitpid(children[i], &status, 0);
		wrong += status != 0;
	}
	for (int i = 0; i < TALLIES; i++)
		wrong += tallies[i].wrong != 0 || tallies[i].calls == 0;
	say();
	return wrong || !outcome_is_right(device, softonu);
}
