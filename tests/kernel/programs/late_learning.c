// SPDX-License-Identifier: GPL-2.0-only
/*
 * late_learning outdated|unchanged|relearnt: a frame walks on one processor while the other one creates an
 * entity, or sends a frame of the same flow. With "relearnt" the second frame has another DSCP, which
 * needs a mapper that reads it. The module gpon_delay makes the learning of a walk late enough
 * for that. Needs a provisioned module with no rule of the flow.
 */
#define _GNU_SOURCE
#include <sched.h>
#include <sys/wait.h>

#include "child.h"
#include "graph.h"
#include "processor.h"

/* The type field of a frame with a DSCP is compared as the CPU loads it, so its bytes are swapped. */
static int send_frame(unsigned int kind, unsigned int dscp)
{
	unsigned char frame[34] = { 2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0x77, 1, 0x00, 0x08, 0x45 };
	struct softonu_hook_call call = { .options = SOFTONU_CALL_PACKET, .api_type = kind };
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);

	frame[15] = (unsigned char)(dscp << 2);
	call.frame = (uint64_t)(uintptr_t)frame;
	call.frame_bytes = sizeof(frame);
	call.port_word = 1 << 4;
	return ioctl(softonu, SOFTONU_IOC_HOOK_CALL, &call) || call.api_result;
}

/* What the other processor does while the first frame waits for its learning. */
static int create_entity(void)
{
	return send_me(open_or_exit("/dev/gpon_flow", O_RDWR), ZR_OMCI_MSG_TYPE_CREAT, &graph[6]);
}

static int send_same_frame(void)
{
	return send_frame(DOWN_UNI, 0);
}

static int send_other_dscp(void)
{
	return send_frame(UP_ANI, 4);
}

static const struct late_case {
	const char *name;
	unsigned int kind; /* of the first frame */
	int (*meanwhile)(void);
} cases[] = {
	{ "outdated", DOWN_UNI, create_entity },
	{ "unchanged", DOWN_UNI, send_same_frame },
	{ "relearnt", UP_ANI, send_other_dscp },
};

static const struct late_case *case_of(const char *name)
{
	for (size_t i = 0; i < sizeof(cases) / sizeof(*cases); i++)
		if (!strcmp(cases[i].name, name))
			return &cases[i];
	exit(2);
}

/*
 * Until the frame that a child sends waits for its learning, or the child has ended. Not asleep: a timer of
 * the other processor would come late.
 */
static void wait_for_the_walk(pid_t child)
{
	siginfo_t end = { .si_pid = 0 };
	char digit = '0';

	while (digit == '0' && waitid(P_PID, (id_t)child, &end, WEXITED | WNOHANG | WNOWAIT) == 0 && !end.si_pid) {
		const int file = open_or_exit("/sys/module/gpon_delay/parameters/entered", O_RDONLY);

		if (read(file, &digit, 1) != 1)
			exit(2);
		close(file);
	}
}

int main(int count, char **words)
{
	const struct late_case *wanted = case_of(count == 2 ? words[1] : "");
	const pid_t first = fork_child();
	int status;
	int result;

	if (first < 0)
		return 2;
	if (first == 0) {
		stay_on(0);
		_exit(send_frame(wanted->kind, 0));
	}
	stay_on(1);
	wait_for_the_walk(first);
	result = wanted->meanwhile();
	if (waitpid(first, &status, 0) != first || status || result) {
		printf("the first frame: %#x, the second call: %d, errno %d\n", status, result, errno);
		return 1;
	}
	return 0;
}
