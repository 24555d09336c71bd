// SPDX-License-Identifier: GPL-2.0-only
/*
 * send_frame DEVICE HEX [watched]: sends an unchanged frame through a device. With "watched"
 * another socket receives what the device sends, so the frame is a clone there.
 */
#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>

/* Bytes of the frame, or -1. */
static int read_hex(const char *text, unsigned char *frame, int room)
{
	int bytes = 0;
	unsigned int value;

	for (; *text; text += 2) {
		if (bytes == room || strspn(text, "0123456789abcdef") < 2 ||
		    sscanf(text, "%2x", &value) != 1)
			return -1;
		frame[bytes++] = (unsigned char)value;
	}
	return bytes;
}

static int open_socket(const char *device, int protocol)
{
	const struct sockaddr_ll address = {
		.sll_family = AF_PACKET,
		.sll_protocol = htons((unsigned short)protocol),
		.sll_ifindex = (int)if_nametoindex(device),
	};
	const int file = socket(AF_PACKET, SOCK_RAW, htons((unsigned short)protocol));

	if (file < 0 || bind(file, (const struct sockaddr *)&address, sizeof(address)))
		return -1;
	return file;
}

int main(int count, char **words)
{
	unsigned char frame[2048];
	int bytes, sender, watcher = 0;

	if (count < 3 || (count == 4 && strcmp(words[3], "watched")) || count > 4) {
		fprintf(stderr, "usage: send_frame DEVICE HEX [watched]\n");
		return 2;
	}
	bytes = read_hex(words[2], frame, sizeof(frame));
	if (bytes < 0) {
		fprintf(stderr, "send_frame: '%s' is no frame\n", words[2]);
		return 2;
	}
	sender = open_socket(words[1], 0);
	if (count == 4)
		watcher = open_socket(words[1], ETH_P_ALL);
	if (sender < 0 || watcher < 0 || send(sender, frame, (size_t)bytes, 0) != bytes) {
		perror(words[1]);
		return 1;
	}
	return 0;
}
