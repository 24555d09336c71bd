// SPDX-License-Identifier: GPL-2.0-only
/*
 * parallel_calls SECONDS: every interface at once, each from several threads. Managed entities are
 * created and deleted while their graph is walked, rules are learnt while they are flushed, levels
 * and filters change while packets are filtered. A call must return one of its known values.
 */
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <time.h>
#include <unistd.h>

#include "include/uapi/gpon_flow.h"
#include "softonu/softonu_uapi.h"
#include "tests/kernel/programs/open_or_exit.h"

#define THREADS_OF_A_KIND 2
#define BRIDGES 2
#define PORTS 8

static atomic_bool stop;
static atomic_ulong calls[3];
static atomic_ulong wrong;

static void expect(int good, const char *name, long got)
{
	if (!good && atomic_fetch_add(&wrong, 1) < 20)
		printf("%s: unexpected result %ld, errno %d\n", name, got, errno);
}

static void send_me(int device, uint8_t message, uint16_t class_id, uint16_t instance,
		    const void *raw)
{
	struct gpon_flow_cmd record = { .cmd = GPON_FLOW_CMD_ME };
	int got;

	record.me.msg_type = message;
	record.me.class_id = class_id;
	record.me.inst_id = instance;
	record.me.attr_mask = 0xffff;
	record.me.attr_data = (uint64_t)(uintptr_t)raw;
	got = ioctl(device, GPON_FLOW_IOC_COMMAND, &record);
	expect(got == 0, "me command", got);
	atomic_fetch_add(&calls[0], 1);
}

/* A UNI port or a GEM port of a bridge, made or taken away. */
static void change_a_port(int device, unsigned int *seed)
{
	const uint16_t port = (uint16_t)(1 + rand_r(seed) % PORTS);
	const int is_uni = port <= PORTS / 2;
	const uint8_t message = rand_r(seed) % 4 ? ZR_OMCI_MSG_TYPE_CREAT : ZR_OMCI_MSG_TYPE_DELETE;
	const struct gpon_raw_gemctp ctp = { .instID = port, .portID = 1024 + port, .tcontID = 1,
					     .direction = 3 };
	const struct gpon_raw_gemiw iw = { .instID = port, .gemCTPInstID = port };
	const struct gpon_raw_mbpcd bridge_port = {
		.instID = port, .bridgeID = (uint16_t)(1 + port % BRIDGES),
		.tpType = is_uni ? 1 : 5, .tpPointer = is_uni ? 0x100 + port : port,
	};

	if (!is_uni) {
		send_me(device, message, 268, port, &ctp);
		send_me(device, message, 266, port, &iw);
	}
	send_me(device, message, 47, port, &bridge_port);
}

static void *command_thread(void *argument)
{
	unsigned int seed = (unsigned int)(uintptr_t)argument;
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);

	for (uint16_t bridge = 1; bridge <= BRIDGES; bridge++) {
		const struct gpon_raw_mbsp raw = { .instID = bridge };

		send_me(device, ZR_OMCI_MSG_TYPE_CREAT, 45, bridge, &raw);
	}
	while (!atomic_load(&stop))
		change_a_port(device, &seed);
	close(device);
	return NULL;
}

static void *operator_thread(void *argument)
{
	static const char *const lines[] = {
		"show en_flag", "show flow_rule", "clean flow_rule 0 0", "show raw_data 47",
		"set enable 1", "set debug_level 0", "set trace dst_mac 02:00:00:00:00:01",
		"set trace disable", "help", "clean raw_data 268 1", "no such words", "show raw_data",
	};
	unsigned int seed = (unsigned int)(uintptr_t)argument;

	while (!atomic_load(&stop)) {
		const char *line = lines[(unsigned int)rand_r(&seed) % (sizeof(lines) / sizeof(*lines))];
		const int entry = open_or_exit("/proc/gpon_flow/debug", O_WRONLY);
		const long got = write(entry, line, strlen(line));

		expect(got == (long)strlen(line), "proc write", got);
		close(entry);
		atomic_fetch_add(&calls[1], 1);
	}
	return NULL;
}

static void *packet_thread(void *argument)
{
	unsigned int seed = (unsigned int)(uintptr_t)argument;
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);
	unsigned char frame[64] = { 2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 8, 0 };

	while (!atomic_load(&stop)) {
		struct softonu_hook_call call = { .options = SOFTONU_CALL_PACKET };
		int got;

		frame[5] = (unsigned char)rand_r(&seed);
		call.frame = (uint64_t)(uintptr_t)frame;
		call.frame_bytes = sizeof(frame);
		call.api_type = (uint32_t)rand_r(&seed) % 4;
		call.port_word = (uint32_t)(rand_r(&seed) % PORTS) << 4;
		call.gemport_id = (uint16_t)(1024 + rand_r(&seed) % (PORTS + 1));
		got = ioctl(softonu, SOFTONU_IOC_HOOK_CALL, &call);
		expect(got == 0, "injection", got);
		expect(call.ret == 2, "hook's return", call.ret);
		expect(call.api_result == 0 || call.api_result == 1, "hook's result", call.api_result);
		atomic_fetch_add(&calls[2], 1);
	}
	close(softonu);
	return NULL;
}

int main(int count, char **words)
{
	static void *(*const kinds[])(void *) = { command_thread, operator_thread, packet_thread };
	pthread_t threads[3 * THREADS_OF_A_KIND];
	const struct timespec time = { .tv_sec = count > 1 ? atoi(words[1]) : 10 };

	for (uintptr_t i = 0; i < 3 * THREADS_OF_A_KIND; i++) {
		if (pthread_create(&threads[i], NULL, kinds[i % 3], (void *)(i + 1))) {
			fprintf(stderr, "no more threads\n");
			return 2;
		}
	}
	nanosleep(&time, NULL);
	atomic_store(&stop, 1);
	for (int i = 0; i < 3 * THREADS_OF_A_KIND; i++)
		pthread_join(threads[i], NULL);
	printf("@@ %lu commands, %lu proc writes, %lu packets, %lu wrong results\n",
	       atomic_load(&calls[0]), atomic_load(&calls[1]), atomic_load(&calls[2]),
	       atomic_load(&wrong));
	return atomic_load(&wrong) ? 1 : 0;
}
