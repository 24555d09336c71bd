// SPDX-License-Identifier: GPL-2.0-only
/*
 * The soft ONU's injection device: packets of every shape reach the hook as one piece with
 * their tag inside, the platform's fields go in and come out, and what makes no sense is refused.
 * Runs with only the platform loaded, its table sending VLAN 100 to GEM port 1025 and the rest to
 * 1026.
 */
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "softonu/softonu_uapi.h"
#include "tests/kernel/programs/expect.h"
#include "tests/kernel/programs/open_or_exit.h"

enum { UP_UNI, UP_ANI, DOWN_UNI, DOWN_ANI, SWITCH, UNKNOWN };

#define TAGGED_GEM 1025
#define OTHER_GEM 1026

static int softonu;
static uint8_t tagged[SOFTONU_FRAME_BYTES_MAX];

/* 0, or the errno. */
static int ask(unsigned long number, void *argument)
{
	return ioctl(softonu, number, argument) < 0 ? errno : 0;
}

static struct softonu_hook_call packet_call(uint32_t bytes, uint32_t options)
{
	struct softonu_hook_call call = {
		.frame = (uintptr_t)tagged,
		.frame_bytes = bytes,
		.options = SOFTONU_CALL_PACKET | options,
		.api_type = UP_ANI,
		.gemport_id = 7,
	};

	return call;
}

static void set_mapping(uint32_t mode, int32_t result)
{
	struct softonu_mapping mapping = { mode, result };
	struct softonu_mapping back = { 99, 99 };

	expect(0, ask(SOFTONU_IOC_SET_MAPPING, &mapping), "set mapping");
	expect(0, ask(SOFTONU_IOC_GET_MAPPING, &back), "get mapping");
	expect(mode, back.mode, "mapping mode read back");
	expect(result, back.result, "mapping result read back");
}

static void calls_without_packet(void)
{
	uint32_t kind;

	for (kind = UP_UNI; kind <= UNKNOWN; kind++) {
		struct softonu_hook_call call = { .api_type = kind };

		expect(0, ask(SOFTONU_IOC_HOOK_CALL, &call), "null packet");
		expect(1, call.records, "null packet: records");
		expect(2, call.ret, "null packet: ret");
		expect(0, call.api_result, "null packet: result");
		expect(0, call.gemport_id, "null packet: GEM port id");
		expect(0xffff, call.queue, "null packet: queue");
		call.options = SOFTONU_CALL_NO_DEFAULT;
		expect(0, ask(SOFTONU_IOC_HOOK_CALL, &call), "no record");
		expect(0, call.records, "no record: records");
		expect(0, call.ret, "no record: ret");
	}
}

static void fields_come_back(void)
{
	struct softonu_hook_call call = packet_call(60, 0);

	call.api_type = DOWN_ANI;
	call.flag_word = 0x12345678;
	call.port_word = 0xffffffff;
	call.mark_word = 0xcafe;
	call.gemport_id = 0xffff;
	call.multicast = 1;
	expect(0, ask(SOFTONU_IOC_HOOK_CALL, &call), "fields");
	expect(0x12345678, call.flag_word, "flag word");
	expect(0xffffffff, call.port_word, "port word");
	expect(0xcafe, call.mark_word, "mark word");
	expect(0xffff, call.gemport_id, "GEM port id");
	expect(1, call.multicast, "multicast indicator");
	expect(0xffff, call.queue, "queue");
}

static void mapping_results(void)
{
	struct softonu_hook_call call = packet_call(60, 0);

	set_mapping(SOFTONU_MAPPING_RESULT, -1);
	expect(0, ask(SOFTONU_IOC_HOOK_CALL, &call), "fixed result -1");
	expect(1, call.api_result, "fixed result -1: api_result");
	expect(7, call.gemport_id, "fixed result -1: GEM port id");
	set_mapping(SOFTONU_MAPPING_RESULT, 5);
	expect(0, ask(SOFTONU_IOC_HOOK_CALL, &call), "fixed result 5");
	expect(0, call.api_result, "fixed result 5: api_result");
	set_mapping(SOFTONU_MAPPING_NONE, 0);
	expect(0, ask(SOFTONU_IOC_HOOK_CALL, &call), "no mapping");
	expect(0, call.api_result, "no mapping: result");
	expect(7, call.gemport_id, "no mapping: GEM port id");
	set_mapping(SOFTONU_MAPPING_TABLE, 0);
}

/* The mapping sees the tag of the frame in every shape, if there is room for one. */
static void shape(uint32_t bytes, uint32_t linear, uint32_t options)
{
	struct softonu_hook_call call = packet_call(bytes, options);
	int bad_tag = (options & SOFTONU_CALL_TAG_BESIDE) &&
		      (options & SOFTONU_CALL_PAGED ? linear : bytes) < 18;
	int whole = !(options & SOFTONU_CALL_RAW) ||
		    (!(options & SOFTONU_CALL_TAG_BESIDE) &&
		     (!(options & SOFTONU_CALL_PAGED) || linear >= 18));

	call.linear_bytes = options & SOFTONU_CALL_PAGED ? linear : 0;
	expect(bad_tag ? EINVAL : 0, ask(SOFTONU_IOC_HOOK_CALL, &call), "shape");
	if (!bad_tag)
		expect(whole && bytes >= 18 ? TAGGED_GEM : OTHER_GEM, call.gemport_id,
		       "shape: GEM port id");
}

static void every_shape(void)
{
	static const uint32_t sizes[] = { 0, 1, 13, 14, 17, 18, 60, 1514, 5000, 16384 };
	static const uint32_t holders[] = { 0, SOFTONU_CALL_CLONED, SOFTONU_CALL_SHARED };
	unsigned int size, holder, linear, raw;

	for (size = 0; size < 10; size++)
		for (holder = 0; holder < 3; holder++)
			for (raw = 0; raw < 4; raw++) {
				uint32_t options = holders[holder];

				options |= raw & 1 ? SOFTONU_CALL_RAW : 0;
				options |= raw & 2 ? SOFTONU_CALL_TAG_BESIDE : 0;
				shape(sizes[size], 0, options);
				for (linear = 0; linear < 10 && linear <= size; linear++)
					shape(sizes[size], sizes[linear],
					      options | SOFTONU_CALL_PAGED);
			}
}

static void refuse(struct softonu_hook_call call, const char *name)
{
	expect(EINVAL, ask(SOFTONU_IOC_HOOK_CALL, &call), name);
}

static void senseless_calls(void)
{
	struct softonu_hook_call call = packet_call(60, 0);
	unsigned int bit;

	for (bit = 7; bit < 32; bit++)
		refuse(packet_call(60, 1u << bit), "option without meaning");
	refuse(packet_call(SOFTONU_FRAME_BYTES_MAX + 1, 0), "frame too long");
	refuse(packet_call(0xffffffff, 0), "frame much too long");
	refuse(packet_call(60, SOFTONU_CALL_CLONED | SOFTONU_CALL_SHARED), "cloned and shared");
	call.linear_bytes = 1;
	refuse(call, "linear bytes without pages");
	call = packet_call(60, SOFTONU_CALL_PAGED);
	call.linear_bytes = 61;
	refuse(call, "more linear bytes than bytes");
	call = packet_call(60, 0);
	call.mac_offset = 61;
	refuse(call, "MAC header behind the frame");
	call = packet_call(60, 0);
	call.options = SOFTONU_CALL_CLONED;
	refuse(call, "clone of no packet");
	call.options = 0;
	refuse(call, "bytes of no packet");
	tagged[12] = 0x08;
	refuse(packet_call(60, SOFTONU_CALL_TAG_BESIDE), "no tag to keep beside");
	tagged[12] = 0x81;
}

/* A page that is followed by an inaccessible one. */
static uint8_t *page_before_nothing(void)
{
	uint8_t *pages = mmap(NULL, 2 * WHOLE_PAGES, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
			      -1, 0);

	if (pages == MAP_FAILED || mprotect(pages + WHOLE_PAGES, WHOLE_PAGES, PROT_NONE))
		abort();
	return pages;
}

static void bad_addresses(void)
{
	static const unsigned long numbers[] = {
		SOFTONU_IOC_HOOK_CALL, SOFTONU_IOC_SET_MAPPING, SOFTONU_IOC_GET_MAPPING,
		SOFTONU_IOC_SET_QUEUE_MAPPING, SOFTONU_IOC_GET_QUEUE_MAPPING,
		SOFTONU_IOC_SET_REPORT, SOFTONU_IOC_GET_REPORT, SOFTONU_IOC_JIFFIES,
		SOFTONU_IOC_HZ,
	};
	uint8_t *page = page_before_nothing();
	struct softonu_hook_call call = packet_call(60, 0);
	unsigned int i;

	for (i = 0; i < sizeof(numbers) / sizeof(numbers[0]); i++) {
		expect(EFAULT, ask(numbers[i], NULL), "null argument");
		expect(EFAULT, ask(numbers[i], (void *)-4096L), "kernel address");
		expect(EFAULT, ask(numbers[i], page + WHOLE_PAGES - 2), "argument cut by a page's end");
	}
	call.frame = (uintptr_t)page + WHOLE_PAGES - 59;
	expect(EFAULT, ask(SOFTONU_IOC_HOOK_CALL, &call), "frame cut by a page's end");
	call.options |= SOFTONU_CALL_PAGED;
	expect(EFAULT, ask(SOFTONU_IOC_HOOK_CALL, &call), "pages cut by a page's end");
	call.frame = ~0ull;
	expect(EFAULT, ask(SOFTONU_IOC_HOOK_CALL, &call), "frame at the last address");
	munmap(page, 2 * WHOLE_PAGES);
}

static void bad_settings(void)
{
	struct softonu_mapping mapping = { .mode = SOFTONU_MAPPING_TABLE + 1 };
	uint32_t on = 2;

	expect(EINVAL, ask(SOFTONU_IOC_SET_MAPPING, &mapping), "unknown mode");
	expect(EINVAL, ask(SOFTONU_IOC_SET_QUEUE_MAPPING, &mapping), "unknown queue mode");
	mapping = (struct softonu_mapping){ SOFTONU_MAPPING_NONE, 1 };
	expect(EINVAL, ask(SOFTONU_IOC_SET_MAPPING, &mapping), "result of no function");
	expect(EINVAL, ask(SOFTONU_IOC_SET_REPORT, &on), "report 2");
}

static void unknown_numbers(void)
{
	struct softonu_hook_call call = packet_call(60, 0);
	unsigned long number;

	/* The kernel itself answers FIGETBSZ and some numbers of terminals, for every file. */
	for (number = 0; number < 0x10000; number++)
		if (number != 2 && number >> 8 != 0x54)
			expect(ENOTTY, ask(number, &call), "unknown number");
	for (number = 9; number < 0x100; number++)
		expect(ENOTTY, ask(_IOWR(SOFTONU_IOC_MAGIC, number, call), &call),
		       "unknown number of the device");
}

static void clock_goes(void)
{
	uint64_t before = 0, after = 0;
	uint32_t hz = 0;

	expect(0, ask(SOFTONU_IOC_HZ, &hz), "HZ");
	expect(0, ask(SOFTONU_IOC_JIFFIES, &before), "jiffies");
	usleep(100000);
	expect(0, ask(SOFTONU_IOC_JIFFIES, &after), "jiffies");
	expect(1, hz >= 100 && hz <= 1200, "HZ in its range");
	expect(1, after - before >= hz / 10 - 1, "jiffies go on");
}

int main(void)
{
	softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);
	memset(tagged, 0x11, sizeof(tagged));
	memcpy(tagged + 12, "\x81\x00\xa0\x64\x08\x00", 6);
	calls_without_packet();
	fields_come_back();
	mapping_results();
	every_shape();
	memcpy(tagged + 12, "\x88\xa8", 2);
	every_shape();
	memcpy(tagged + 12, "\x81\x00", 2);
	senseless_calls();
	bad_addresses();
	bad_settings();
	unknown_numbers();
	clock_goes();
	printf("@@ %lu checks of the injection device, %d failed\n", checked, failures);
	return failures != 0;
}
