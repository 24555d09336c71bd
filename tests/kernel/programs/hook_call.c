// SPDX-License-Identifier: GPL-2.0-only
/*
 * hook_call [NAME=NUMBER]...: one hook call through the injection device, printed as a line.
 * Without words it is a broadcast frame of 60 bytes on UNI 1, upstream to the ANI. "vid" puts a
 * tag into it, with "tpid", "pbit" and "dei"; "beside=1" keeps the tag beside the frame. "packet=0"
 * calls without a packet.
 */
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>

#include "softonu/softonu_uapi.h"

enum { KIND, PORT, GEM, PARAM, FLAGS, VID, PBIT, DEI, TPID, BESIDE, PACKET,
       WORDS };

static const char *const names[WORDS] = {
	"kind", "port", "gem", "param", "flags", "vid", "pbit", "dei", "tpid", "beside", "packet",
};
static long values[WORDS] = { [KIND] = 1, [PORT] = 1, [VID] = -1, [TPID] = 0x8100, [PACKET] = 1 };

/* 0 when the word was understood. */
static int take(const char *word)
{
	const size_t length = strcspn(word, "=");
	char *end;

	for (int i = 0; i < WORDS; i++) {
		if (word[length] != '=' || strlen(names[i]) != length || strncmp(word, names[i], length))
			continue;
		values[i] = strtol(word + length + 1, &end, 0);
		return end == word + length + 1 || *end;
	}
	return -1;
}

static void make_frame(unsigned char *frame, size_t bytes)
{
	const unsigned int tci = (unsigned int)(values[PBIT] << 13 | values[DEI] << 12 |
						(values[VID] & 0xfff));
	const unsigned char tag[] = { (unsigned char)(values[TPID] >> 8),
				      (unsigned char)values[TPID], (unsigned char)(tci >> 8),
				      (unsigned char)tci };

	memset(frame, 0, bytes);
	memset(frame, 0xff, 6);
	memcpy(frame + 6, "\x02\x00\x00\x00\x00\x01\x08\x00", 8);
	if (values[VID] >= 0) {
		memmove(frame + 16, frame + 12, bytes - 16);
		memcpy(frame + 12, tag, sizeof(tag));
	}
}

int main(int count, char **words)
{
	unsigned char frame[60];
	struct softonu_hook_call call = { 0 };
	const int softonu = open(SOFTONU_DEVICE, O_RDWR | O_CLOEXEC);

	for (int i = 1; i < count; i++) {
		if (take(words[i])) {
			fprintf(stderr, "hook_call: '%s' is not understood\n", words[i]);
			return 2;
		}
	}
	if (values[PACKET]) {
		make_frame(frame, sizeof(frame));
		call.frame = (uint64_t)(uintptr_t)frame;
		call.frame_bytes = sizeof(frame);
		call.options = SOFTONU_CALL_PACKET | (values[BESIDE] ? SOFTONU_CALL_TAG_BESIDE : 0);
	}
	call.api_type = (uint32_t)values[KIND];
	call.api_param = (uint32_t)values[PARAM];
	call.port_word = (uint32_t)values[PORT] << 4;
	call.gemport_id = (uint16_t)values[GEM];
	call.flag_word = (uint32_t)values[FLAGS];
	if (softonu < 0 || ioctl(softonu, SOFTONU_IOC_HOOK_CALL, &call)) {
		perror(SOFTONU_DEVICE);
		return 1;
	}
	printf("records=%u ret=%d result=%d gem=%u queue=%u\n", call.records, call.ret,
	       call.api_result, call.gemport_id, call.queue);
	return 0;
}
