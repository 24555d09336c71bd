// SPDX-License-Identifier: GPL-2.0-only
/*
 * frame_source DEVICE NETWORK FLOWS ROUNDS FRAMES [FILE TEXT]
 *
 * Sends frames of a subscriber from one packet socket, each to the far end before the next begins,
 * and prints the nanoseconds per frame: the median of the rounds, which excludes clock ticks and
 * other occasional work of the kernel, and their mean. FLOWS source addresses alternate; flow n is
 * in VLAN 100 + n % 8. A round of FRAMES frames is timed as a whole. TEXT is written to FILE before
 * each round, outside of the timed interval. NETWORK, 0 to 255, selects the addresses of the flows.
 *
 * Exact only where the guest's clock counts instructions.
 */
#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#define SERVICES 8
#define FRAME_BYTES 128
#define FLOWS_MAX 65536

struct frame {
	uint8_t to[6], from[6];
	uint16_t tag_type, tag, type;
	uint8_t ip[20], udp[8];
	uint8_t payload[FRAME_BYTES - 46];
} __attribute__((packed));

_Static_assert(sizeof(struct frame) == FRAME_BYTES, "the header's fields are packed");

static int fail(const char *step)
{
	fprintf(stderr, "frame_source: %s: %s\n", step, strerror(errno));
	exit(1);
}

static unsigned long number(const char *text, unsigned long smallest, unsigned long largest)
{
	char *end;
	unsigned long value = strtoul(text, &end, 10);

	if (*end || end == text || value < smallest || value > largest) {
		fprintf(stderr, "frame_source: '%s' is no number from %lu to %lu\n", text, smallest,
			largest);
		exit(2);
	}
	return value;
}

static uint16_t header_checksum(const uint8_t *header)
{
	uint32_t sum = 0;

	for (int i = 0; i < 20; i += 2)
		sum += (uint32_t)header[i] << 8 | header[i + 1];
	sum = (sum & 0xffff) + (sum >> 16);
	return (uint16_t)~(sum + (sum >> 16));
}

static void make_frame(struct frame *frame, unsigned int network, unsigned int flow)
{
	const uint16_t ip_bytes = FRAME_BYTES - 18;
	const uint8_t high = (uint8_t)(flow >> 8), low = (uint8_t)flow;
	const uint8_t ip[20] = { 0x45, 0, ip_bytes >> 8, ip_bytes & 0xff, 0, 0, 0, 0, 64, 17,
				 0, 0, 10, (uint8_t)network, high, low, 10, 255, 0, 1 };
	const uint8_t udp[8] = { high, low, 0x13, 0x88, 0, (uint8_t)(ip_bytes - 20), 0, 0 };
	uint16_t sum;

	memset(frame, 0x5a, sizeof(*frame));
	memcpy(frame->to, "\x02\0\0\0\xff\x01", 6);
	memcpy(frame->from, "\x02\0\0", 3);
	frame->from[3] = (uint8_t)network;
	frame->from[4] = high;
	frame->from[5] = low;
	frame->tag_type = htons(0x8100);
	frame->tag = htons((uint16_t)(100 + flow % SERVICES));
	frame->type = htons(0x0800);
	memcpy(frame->ip, ip, sizeof(ip));
	memcpy(frame->udp, udp, sizeof(udp));
	sum = htons(header_checksum(frame->ip));
	memcpy(frame->ip + 10, &sum, 2);
}

static struct frame *make_frames(unsigned int network, unsigned int flows)
{
	struct frame *frames = calloc(flows, sizeof(*frames));

	if (!frames)
		fail("memory");
	for (unsigned int flow = 0; flow < flows; flow++)
		make_frame(&frames[flow], network, flow);
	return frames;
}

/* No protocol: the socket must not get the frames that it sends. */
static int open_device(const char *name)
{
	struct sockaddr_ll address = { .sll_family = AF_PACKET };
	const int on = 1;
	int source = socket(AF_PACKET, SOCK_RAW, 0);

	address.sll_ifindex = (int)if_nametoindex(name);
	if (source < 0 || !address.sll_ifindex)
		fail(name);
	if (bind(source, (struct sockaddr *)&address, sizeof(address)) ||
	    setsockopt(source, SOL_PACKET, PACKET_QDISC_BYPASS, &on, sizeof(on)))
		fail(name);
	return source;
}

static void write_text(int file, const char *text)
{
	const size_t length = strlen(text);

	if (write(file, text, length) != (ssize_t)length)
		fail(text);
}

static void send_frames(int source, const struct frame *frames, unsigned long flows,
			unsigned long first, unsigned long count)
{
	unsigned long flow = first % flows;

	while (count--) {
		if (send(source, &frames[flow], sizeof(*frames), 0) != sizeof(*frames))
			fail("send");
		if (++flow == flows)
			flow = 0;
	}
}

static uint64_t now(void)
{
	struct timespec time;

	clock_gettime(CLOCK_MONOTONIC, &time);
	return (uint64_t)time.tv_sec * 1000000000u + (uint64_t)time.tv_nsec;
}

static int ascending(const void *a, const void *b)
{
	const uint64_t left = *(const uint64_t *)a, right = *(const uint64_t *)b;

	return left < right ? -1 : left > right;
}

static void report(uint64_t *spent, unsigned long rounds, unsigned long per_round)
{
	uint64_t total = 0;

	for (unsigned long round = 0; round < rounds; round++)
		total += spent[round];
	qsort(spent, rounds, sizeof(*spent), ascending);
	printf("%.3f %.3f\n", (double)spent[rounds / 2] / (double)per_round,
	       (double)total / (double)(rounds * per_round));
}

int main(int count, char **words)
{
	if (count != 6 && count != 8) {
		fprintf(stderr, "usage: frame_source DEVICE NETWORK FLOWS ROUNDS FRAMES [FILE TEXT]\n");
		return 2;
	}
	const unsigned long flows = number(words[3], 1, FLOWS_MAX);
	const unsigned long rounds = number(words[4], 1, 1000000);
	const unsigned long per_round = number(words[5], 1, 1000000);
	struct frame *frames = make_frames((unsigned int)number(words[2], 0, 255), (unsigned int)flows);
	uint64_t *spent = calloc(rounds, sizeof(*spent)), start;
	int file = count == 8 ? open(words[6], O_WRONLY) : -1;
	int source = open_device(words[1]);

	if (count == 8 && file < 0)
		fail(words[6]);
	if (!spent)
		fail("memory");
	/* What is learnt from a flow's first frame is there when the clock starts. */
	send_frames(source, frames, flows, 0, flows);
	for (unsigned long round = 0; round < rounds; round++) {
		if (file >= 0)
			write_text(file, words[7]);
		start = now();
		send_frames(source, frames, flows, round * per_round, per_round);
		spent[round] = now() - start;
	}
	report(spent, rounds, per_round);
	free(spent);
	free(frames);
	return 0;
}
