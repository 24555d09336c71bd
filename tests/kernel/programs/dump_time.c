// SPDX-License-Identifier: GPL-2.0-only
/*
 * dump_time FLOWS: learns a rule for each of FLOWS stations and measures "show flow_rule" and a frame
 * with and without a trace filter. Prints figures for people; fails if a call fails or if the dump does
 * not take longer than a command that prints one line.
 */
#include <time.h>

#include "graph.h"

enum { FRAMES = 20 };

static double now_ms(void)
{
	struct timespec time;

	clock_gettime(CLOCK_MONOTONIC, &time);
	return (double)time.tv_sec * 1e3 + (double)time.tv_nsec / 1e6;
}

static double ms_of_line(const char *line)
{
	const double start = now_ms();

	if (write_proc(line)) {
		perror(line);
		exit(1);
	}
	return now_ms() - start;
}

/* The stations differ in the last two bytes of their address. */
static void send_or_exit(int injection, unsigned int station)
{
	unsigned char frame[64] = { 2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 0, 0x81, 0x00, 0x40, 200 };
	struct softonu_hook_call call = { .options = SOFTONU_CALL_PACKET, .api_type = UP_ANI };

	frame[10] = (unsigned char)(station >> 8);
	frame[11] = (unsigned char)station;
	call.frame = (uint64_t)(uintptr_t)frame;
	call.frame_bytes = sizeof(frame);
	call.port_word = 1 << 4;
	if (ioctl(injection, SOFTONU_IOC_HOOK_CALL, &call) || call.gemport_id != 1026) {
		printf("station %u: GEM port %u\n", station, call.gemport_id);
		exit(1);
	}
}

static double ms_of_a_frame(int injection)
{
	const double start = now_ms();

	for (int i = 0; i < FRAMES; i++)
		send_or_exit(injection, 1);
	return (now_ms() - start) / FRAMES;
}

int main(int count, char **words)
{
	const unsigned int flows = count > 1 ? (unsigned int)atoi(words[1]) : 1000;
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);
	const int injection = open_or_exit(SOFTONU_DEVICE, O_RDWR);
	double line, dump, known, traced;

	if (provision(device) || switch_engine(injection, 1))
		return 1;
	for (unsigned int station = 0; station < flows; station++)
		send_or_exit(injection, station);
	line = ms_of_line("show en_flag");
	dump = ms_of_line("show flow_rule");
	known = ms_of_a_frame(injection);
	ms_of_line("set trace src_mac 02:00:00:00:00:01");
	traced = ms_of_a_frame(injection);
	ms_of_line("set trace disable");
	printf("@@ show flow_rule after %u flows: %.1f ms (show en_flag: %.2f ms)\n", flows, dump, line);
	printf("@@ a frame of a known flow: %.3f ms, with a trace filter: %.3f ms\n", known, traced);
	return dump > line ? 0 : 1;
}
