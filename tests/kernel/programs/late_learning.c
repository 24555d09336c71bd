// SPDX-License-Identifier: GPL-2.0-only
/*
 * late_learning outdated|unchanged: a frame walks on one processor while the other one creates an entity,
 * or sends a frame of the same flow. The module gpon_delay makes the learning of a walk late enough
 * for that. Needs a provisioned module with no rule of the flow.
 */
#define _GNU_SOURCE
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>

#include "graph.h"

/* Within the delay, after the walk. Not asleep: a timer of the other processor would come late. */
enum { WALK_MS = 300 };

static void stay_on(int processor)
{
	cpu_set_t set;

	CPU_ZERO(&set);
	CPU_SET(processor, &set);
	if (sched_setaffinity(0, sizeof(set), &set)) {
		perror("sched_setaffinity");
		exit(2);
	}
}

static long now_ms(void)
{
	struct timespec time;

	clock_gettime(CLOCK_MONOTONIC, &time);
	return time.tv_sec * 1000 + time.tv_nsec / 1000000;
}

static int send_frame(void)
{
	struct softonu_hook_call call;
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);

	return send_packet(softonu, DOWN_UNI, 1, 2, 0, &call) || call.api_result;
}

int main(int count, char **words)
{
	const int again = count == 2 && !strcmp(words[1], "unchanged");
	int *begun = mmap(NULL, sizeof(*begun), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);
	pid_t first;
	int status;
	int result;
	long end;

	if (count != 2 || (!again && strcmp(words[1], "outdated")) || begun == MAP_FAILED)
		return 2;
	first = fork();
	if (first == 0) {
		stay_on(0);
		__atomic_store_n(begun, 1, __ATOMIC_RELEASE);
		_exit(send_frame());
	}
	stay_on(1);
	while (!__atomic_load_n(begun, __ATOMIC_ACQUIRE))
		continue;
	for (end = now_ms() + WALK_MS; now_ms() < end;)
		continue;
	result = again ? send_frame() : send_me(device, ZR_OMCI_MSG_TYPE_CREAT, &graph[6]);
	if (waitpid(first, &status, 0) != first || status || result) {
		printf("the first frame: %#x, the second call: %d, errno %d\n", status, result, errno);
		return 1;
	}
	return 0;
}
