// SPDX-License-Identifier: GPL-2.0-only
/*
 * parallel_flood FRAMES FLOWS: a process on each of two processors sends FRAMES frames of one flow that
 * both have, and then the first frames of FLOWS flows of its own. They keep pace, so that each counter is
 * counted on both processors at once. A hook call runs on the processor of its caller. Prints how many
 * frames each processor sent.
 */
#define _GNU_SOURCE
#include <sched.h>
#include <stdbool.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include "child.h"
#include "graph.h"
#include "processor.h"

/* So many frames are sent between two meetings of the processes. */
enum { PROCESSORS = 2, PACE = 25 };

struct shared {
	unsigned int arrived;
	unsigned int sent[PROCESSORS];
};

static struct shared *shared;

/* The other process is never more than a meeting ahead. */
static void meet(unsigned int meeting)
{
	__atomic_fetch_add(&shared->arrived, 1, __ATOMIC_SEQ_CST);
	while (__atomic_load_n(&shared->arrived, __ATOMIC_SEQ_CST) < meeting * PROCESSORS)
		sched_yield();
}

/* The last bytes of the source address are the number of the flow. */
static void send_frame(int softonu, unsigned int flow)
{
	unsigned char frame[34] = { 2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 0, 0x08, 0x00, 0x45 };
	struct softonu_hook_call call = { .options = SOFTONU_CALL_PACKET, .api_type = DOWN_UNI };

	frame[9] = (unsigned char)(flow >> 16);
	frame[10] = (unsigned char)(flow >> 8);
	frame[11] = (unsigned char)flow;
	call.frame = (uint64_t)(uintptr_t)frame;
	call.frame_bytes = sizeof(frame);
	call.port_word = 1 << 4;
	if (ioctl(softonu, SOFTONU_IOC_HOOK_CALL, &call) || call.api_result) {
		printf("flow %u: result %d, errno %d\n", flow, call.api_result, errno);
		exit(1);
	}
}

static void flood(int processor, unsigned int frames, unsigned int flows)
{
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);

	stay_on(processor);
	for (unsigned int i = 0; i < frames + flows; i++) {
		if (i % PACE == 0)
			meet(i / PACE + 1);
		send_frame(softonu, i < frames ? 0 : (unsigned int)(processor + 1) << 12 | i);
		if (sched_getcpu() != processor) {
			printf("processor %d: moved to %d\n", processor, sched_getcpu());
			exit(3);
		}
		shared->sent[processor]++;
	}
}

/* Whether all came to their end. After a failure another process may wait for that one for ever. */
static bool all_end(void)
{
	for (int i = 0; i < PROCESSORS; i++) {
		int status = 0;

		if (wait(&status) < 0 || status != 0)
			return false;
	}
	return true;
}

int main(int count, char **words)
{
	const unsigned int frames = count == 3 ? (unsigned int)atoi(words[1]) : 0;
	const unsigned int flows = count == 3 ? (unsigned int)atoi(words[2]) : 0;
	bool ended;

	shared = mmap(NULL, sizeof(*shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
	if (shared == MAP_FAILED || frames + flows == 0 || frames + flows > 4096)
		return 2;
	for (int i = 0; i < PROCESSORS; i++) {
		const pid_t child = fork_child();

		if (child < 0)
			return 2;
		if (child == 0) {
			flood(i, frames, flows);
			exit(0);
		}
	}
	ended = all_end();
	for (int i = 0; i < PROCESSORS; i++)
		printf("processor %d: %u frames\n", i, shared->sent[i]);
	return !ended;
}
