// SPDX-License-Identifier: GPL-2.0-only
/*
 * Calls of the character device that no OMCI stack makes: every ioctl number, control records at
 * bad addresses and at the very end of a page, records full of bad addresses. Each call has the
 * one right result; the machine that runs this must survive all of them.
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

#include "include/uapi/gpon_flow.h"
#include "tests/kernel/programs/open_or_exit.h"

static int device;
static int failures;
static unsigned long checked;

/* 0, or the errno. */
static int call(unsigned long number, uint64_t argument)
{
	return ioctl(device, number, argument) < 0 ? errno : 0;
}

static void expect(int wanted, int got, const char *name, unsigned long number, uint64_t address)
{
	checked++;
	if (wanted == got)
		return;
	failures++;
	printf("%s: number %#lx, address %#llx: expected %d, got %d\n", name, number,
	       (unsigned long long)address, wanted, got);
}

/* Addresses that no record can be at: null, the lowest page, holes, the kernel's half, the end. */
static const uint64_t bad_addresses[] = {
	0, 1, 8, 0x1000, 0x7fffffffffffULL, 0x800000000000ULL, 0xffff000000000000ULL,
	0xffff800000000000ULL, 0xffff888000000000ULL, 0xffffffff81000000ULL,
	0xffffffffffffffc0ULL, 0xffffffffffffffffULL,
};
#define BAD_ADDRESSES (sizeof(bad_addresses) / sizeof(bad_addresses[0]))

static int result_of_number(unsigned long number)
{
	const unsigned long masked = number & ~(unsigned long)GPON_FLOW_IOC_SIZE_MASK;

	if (((number >> 8) & 0xff) != GLOBAL_GPON_IOC_MAGIC || (number & 0xff) != 0)
		return ENOTTY;
	/* -1 from the control path reads as EPERM over here. */
	return masked == GPON_FLOW_IOC_COMMAND ? EPERM : EFAULT;
}

/* The kernel itself handles a few numbers for any file and does not pass them to the driver. */
static int handled_by_kernel(unsigned long number)
{
	return (number & 0xff00) == 0x5400 || (number & 0xff00) == 0x6600 ||
	       (number & 0xff00) == 0x5800 || (number & 0xff00) == 0x9400 || number <= 2;
}

static void every_number(void)
{
	static const unsigned long frames[] = { 0, 0x40000000, 0x80000000, 0xc0000000,
						0x40400000, 0x7fff0000, 0x3fff0000 };

	for (unsigned long low = 0; low < 0x10000; low++) {
		for (size_t i = 0; i < sizeof(frames) / sizeof(frames[0]); i++) {
			const unsigned long number = frames[i] | low;

			if (!handled_by_kernel(number))
				expect(result_of_number(number), call(number, 0), "number", number, 0);
		}
	}
}

static int send_record(const struct gpon_flow_cmd *record)
{
	return call(GPON_FLOW_IOC_COMMAND, (uint64_t)(uintptr_t)record);
}

static void record_at_bad_addresses(void)
{
	for (size_t i = 0; i < BAD_ADDRESSES; i++)
		expect(EPERM, call(GPON_FLOW_IOC_COMMAND, bad_addresses[i]), "record address",
		       GPON_FLOW_IOC_COMMAND, bad_addresses[i]);
}

/* A readable page with an unreadable one behind it. */
static unsigned char *page_with_an_end(size_t *bytes)
{
	unsigned char *pages;

	*bytes = (size_t)sysconf(_SC_PAGESIZE);
	pages = mmap(NULL, 2 * *bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
	if (pages == MAP_FAILED || mprotect(pages + *bytes, *bytes, PROT_NONE)) {
		perror("mmap");
		exit(2);
	}
	return pages;
}

/* With k bytes of a 64-byte record before the end of memory only k = 64 can be read. */
static void record_at_the_end_of_memory(void)
{
	const struct gpon_flow_cmd clean = { .cmd = GPON_FLOW_CMD_CLEAN };
	size_t bytes;
	unsigned char *page = page_with_an_end(&bytes);

	for (size_t before = 1; before <= sizeof(clean); before++) {
		unsigned char *at = page + bytes - before;

		memcpy(at, &clean, before);
		expect(before == sizeof(clean) ? 0 : EPERM,
		       call(GPON_FLOW_IOC_COMMAND, (uint64_t)(uintptr_t)at), "cut record",
		       GPON_FLOW_IOC_COMMAND, before);
	}
	munmap(page, 2 * bytes);
}

static void attributes_at_bad_addresses(uint16_t class_id)
{
	struct gpon_flow_cmd record = { .cmd = GPON_FLOW_CMD_ME };

	record.me.class_id = class_id;
	record.me.inst_id = 0x101;
	record.me.attr_mask = 0xffff;
	for (size_t i = 0; i < BAD_ADDRESSES; i++) {
		record.me.attr_data = bad_addresses[i];
		record.me.msg_type = ZR_OMCI_MSG_TYPE_CREAT;
		expect(EPERM, send_record(&record), "create", class_id, bad_addresses[i]);
		record.me.msg_type = ZR_OMCI_MSG_TYPE_SET;
		expect(EPERM, send_record(&record), "set", class_id, bad_addresses[i]);
		/* A delete does not read the address. */
		record.me.msg_type = ZR_OMCI_MSG_TYPE_DELETE;
		expect(0, send_record(&record), "delete", class_id, bad_addresses[i]);
		record.me.msg_type = 5;
		expect(0, send_record(&record), "unknown message", class_id, bad_addresses[i]);
	}
}

static void every_class_number(void)
{
	struct gpon_flow_cmd record = { .cmd = GPON_FLOW_CMD_ME };
	static const uint16_t known[] = { 11, 45, 47, 78, 84, 130, 171, 262, 266, 268, 277, 278,
					  280, 281, 329 };

	for (size_t i = 0; i < sizeof(known) / sizeof(known[0]); i++)
		attributes_at_bad_addresses(known[i]);
	record.me.msg_type = ZR_OMCI_MSG_TYPE_CREAT;
	for (uint32_t class_id = 330; class_id <= 0xffff; class_id += 97) {
		record.me.class_id = (uint16_t)class_id;
		expect(EPERM, send_record(&record), "unknown class", class_id, 0);
	}
}

static void other_commands(void)
{
	struct gpon_flow_cmd record;

	for (size_t i = 0; i < BAD_ADDRESSES; i++) {
		memset(&record, 0xff, sizeof(record));
		record.cmd = GPON_FLOW_CMD_CFG_DATA;
		record.cfg_data = bad_addresses[i];
		expect(EPERM, send_record(&record), "configuration", 1, bad_addresses[i]);
		memset(&record, 0, sizeof(record));
		record.cmd = GPON_FLOW_CMD_DEBUG;
		record.args[0] = bad_addresses[i];
		/* No word at all: the interpreter has nothing to say against it. */
		expect(0, send_record(&record), "debug words", 2, bad_addresses[i]);
	}
	memset(&record, 0xff, sizeof(record));
	for (uint32_t cmd = 4; cmd != 0; cmd <<= 1) {
		record.cmd = cmd;
		expect(EPERM, send_record(&record), "command", cmd, 0);
	}
}

/* Everything that a record points at, cut by the end of memory: only what is whole can be read. */
static void cut_by_the_end(struct gpon_flow_cmd *record, uint64_t *address, size_t whole,
			   const char *name)
{
	size_t bytes;
	unsigned char *page = page_with_an_end(&bytes);

	for (size_t before = 0; before <= whole; before++) {
		*address = (uint64_t)(uintptr_t)(page + bytes - before);
		expect(before == whole ? 0 : EPERM, send_record(record), name, record->me.class_id,
		       before);
	}
	munmap(page, 2 * bytes);
}

static void raw_records_at_the_end_of_memory(void)
{
	static const struct {
		uint16_t class_id;
		size_t bytes;
	} records[] = {
		{ 11, sizeof(struct gpon_raw_pptp) }, { 45, sizeof(struct gpon_raw_mbsp) },
		{ 47, sizeof(struct gpon_raw_mbpcd) }, { 78, sizeof(struct gpon_raw_vtocd) },
		{ 84, sizeof(struct gpon_raw_vtfd) }, { 130, sizeof(struct gpon_raw_mapper) },
		{ 171, sizeof(struct gpon_raw_evtocd) }, { 262, sizeof(struct gpon_raw_tcont) },
		{ 266, sizeof(struct gpon_raw_gemiw) }, { 268, sizeof(struct gpon_raw_gemctp) },
		{ 277, sizeof(struct gpon_raw_pq) }, { 278, sizeof(struct gpon_raw_ts) },
		{ 280, sizeof(struct gpon_raw_td) }, { 281, sizeof(struct gpon_raw_multigemiw) },
		{ 329, sizeof(struct gpon_raw_veip) },
	};
	const struct gpon_flow_cmd clean = { .cmd = GPON_FLOW_CMD_CLEAN };

	for (size_t i = 0; i < sizeof(records) / sizeof(records[0]); i++) {
		struct gpon_flow_cmd record = { .cmd = GPON_FLOW_CMD_ME };

		record.me.class_id = records[i].class_id;
		record.me.attr_mask = 0xffff;
		record.me.msg_type = ZR_OMCI_MSG_TYPE_CREAT;
		cut_by_the_end(&record, &record.me.attr_data, records[i].bytes, "cut record to create");
		record.me.msg_type = ZR_OMCI_MSG_TYPE_SET;
		cut_by_the_end(&record, &record.me.attr_data, records[i].bytes, "cut record to set");
		expect(0, send_record(&clean), "clean", 0, 0);
	}
}

static void configuration_at_the_end_of_memory(void)
{
	struct gpon_flow_cmd record = { .cmd = GPON_FLOW_CMD_CFG_DATA };

	cut_by_the_end(&record, &record.cfg_data, sizeof(struct gpon_flow_cfg_data),
		       "cut configuration");
}

/* Words without a terminator, in memory that ends right behind them. */
static void endless_debug_words(void)
{
	struct gpon_flow_cmd record = { .cmd = GPON_FLOW_CMD_DEBUG };
	size_t bytes;
	unsigned char *page = page_with_an_end(&bytes);

	memset(page, 'a', bytes);
	for (int i = 0; i < GPON_FLOW_DEBUG_WORDS; i++)
		record.args[i] = (uint64_t)(uintptr_t)(page + bytes - GPON_FLOW_DEBUG_WORD_BYTES);
	expect(0, send_record(&record), "endless words", 2, record.args[0]);
	munmap(page, 2 * bytes);
}

/* The interpreter gets the words before the first that cannot be read. With one word fewer the
 * command is another one, and says so in the kernel log. */
static void debug_words_behind_good_ones(void)
{
	static const char words[GPON_FLOW_DEBUG_WORDS][GPON_FLOW_DEBUG_WORD_BYTES] = {
		"set", "trace", "outer_vlan", "1234",
	};
	struct gpon_flow_cmd record = { .cmd = GPON_FLOW_CMD_DEBUG };

	for (int bad = 1; bad < GPON_FLOW_DEBUG_WORDS; bad++) {
		for (size_t i = 0; i < BAD_ADDRESSES; i++) {
			for (int word = 0; word < GPON_FLOW_DEBUG_WORDS; word++)
				record.args[word] = (uint64_t)(uintptr_t)words[word];
			record.args[bad] = bad_addresses[i];
			expect(0, send_record(&record), "bad word behind good ones", 2, bad);
		}
	}
}

/* A word that is cut by the end of memory is no word, however short its text. */
static void cut_debug_words(void)
{
	static const char set[GPON_FLOW_DEBUG_WORD_BYTES] = "set";
	static const char level[GPON_FLOW_DEBUG_WORD_BYTES] = "debug_level";
	struct gpon_flow_cmd record = { .cmd = GPON_FLOW_CMD_DEBUG };
	size_t bytes;
	unsigned char *page = page_with_an_end(&bytes);

	record.args[0] = (uint64_t)(uintptr_t)set;
	record.args[1] = (uint64_t)(uintptr_t)level;
	for (size_t before = 2; before <= GPON_FLOW_DEBUG_WORD_BYTES; before++) {
		unsigned char *word = page + bytes - before;

		memcpy(word, before == GPON_FLOW_DEBUG_WORD_BYTES ? "5" : "4", 2);
		record.args[2] = (uint64_t)(uintptr_t)word;
		expect(0, send_record(&record), "cut word", 2, before);
	}
	munmap(page, 2 * bytes);
}

int main(void)
{
	device = open_or_exit("/dev/gpon_flow", O_RDWR);
	every_number();
	record_at_bad_addresses();
	record_at_the_end_of_memory();
	raw_records_at_the_end_of_memory();
	configuration_at_the_end_of_memory();
	every_class_number();
	other_commands();
	endless_debug_words();
	debug_words_behind_good_ones();
	cut_debug_words();
	printf("@@ %lu hostile calls, %d wrong results\n", checked, failures);
	return failures ? 1 : 0;
}
