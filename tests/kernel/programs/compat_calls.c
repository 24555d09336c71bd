// SPDX-License-Identifier: GPL-2.0-only
/*
 * The ioctls of both devices as a 32-bit program makes them: the other entry of the kernel, with
 * addresses below 4 GiB. On x86_64 a 64-bit program may use this entry, too. On arm64 this is a
 * 32-bit program.
 */
#include <stdio.h>
#include <sys/mman.h>
#include <sys/syscall.h>

#include "tests/kernel/programs/expect.h"
#include "tests/kernel/programs/graph.h"

#ifdef __x86_64__
#define GETPID_32 20
#define IOCTL_32 54

static int call_32(unsigned int number, unsigned int a, unsigned int b, unsigned int c)
{
	int result;

	__asm__ volatile("int $0x80"
			 : "=a"(result)
			 : "a"(number), "b"(a), "c"(b), "d"(c)
			 : "memory", "r8", "r9", "r10", "r11");
	return result;
}
#else
#define GETPID_32 SYS_getpid
#define IOCTL_32 SYS_ioctl
#define MAP_32BIT 0

_Static_assert(sizeof(void *) == 4, "a 32-bit program");

static int call_32(unsigned int number, unsigned int a, unsigned int b, unsigned int c)
{
	const long result = syscall(number, a, b, c);

	return result == -1 ? -errno : (int)result;
}
#endif

static int ioctl_32(int file, unsigned int number, uint64_t argument)
{
	return call_32(IOCTL_32, (unsigned int)file, number, (unsigned int)argument);
}

/* Memory that a 32-bit address reaches, with an unreadable page behind it. */
static unsigned char *low_page(void)
{
	unsigned char *page = mmap(NULL, 2 * WHOLE_PAGES, PROT_READ | PROT_WRITE,
				   MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0);

	if (page == MAP_FAILED || mprotect(page + WHOLE_PAGES, WHOLE_PAGES, PROT_NONE)) {
		perror("mmap");
		exit(2);
	}
	return page;
}

static void create_a_bridge(int device, unsigned char *page)
{
	struct gpon_flow_cmd *record = (struct gpon_flow_cmd *)page;
	struct gpon_raw_mbsp *raw = (struct gpon_raw_mbsp *)(page + sizeof(*record));

	memset(page, 0, 4096);
	raw->instID = 0x2a;
	record->cmd = GPON_FLOW_CMD_ME;
	record->me.msg_type = ZR_OMCI_MSG_TYPE_CREAT;
	record->me.class_id = 45;
	record->me.inst_id = 0x2a;
	record->me.attr_mask = 0xffff;
	record->me.attr_data = (uint64_t)(uintptr_t)raw;
	expect(0, ioctl_32(device, 0x40007700, (uintptr_t)record), "good record");
	expect(0, ioctl_32(device, 0x40407700, (uintptr_t)record), "good record, size in the number");
	record->me.attr_data = 0x1000;
	expect(-EPERM, ioctl_32(device, 0x40007700, (uintptr_t)record), "attributes at 0x1000");
}

static void control_device(unsigned char *page)
{
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);

	create_a_bridge(device, page);
	expect(-EPERM, ioctl_32(device, 0x40007700, 0), "null record");
	expect(-EPERM, ioctl_32(device, 0x40007700, 0xfffff000), "record at a bad address");
	expect(-EPERM, ioctl_32(device, 0x40007700, (uintptr_t)page + WHOLE_PAGES - 63), "cut record");
	expect(-ENOTTY, ioctl_32(device, 0x40007701, (uintptr_t)page), "number 1");
	expect(-ENOTTY, ioctl_32(device, 0x40087701, (uintptr_t)page), "number 1 with a size");
	expect(-ENOTTY, ioctl_32(device, 0x40007800, (uintptr_t)page), "another's number");
	expect(-EFAULT, ioctl_32(device, 0x80007700, (uintptr_t)page), "the other direction");
	expect(-EFAULT, ioctl_32(device, 0xc0007700, (uintptr_t)page), "both directions");
	close(device);
}

static void softonu_calls(unsigned char *page)
{
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);
	struct softonu_hook_call *call = (struct softonu_hook_call *)page;
	uint32_t *hz = (uint32_t *)page;

	memset(page, 0, 4096);
	call->frame = (uint64_t)(uintptr_t)(page + 2048);
	call->frame_bytes = 60;
	call->options = SOFTONU_CALL_PACKET;
	call->api_type = DOWN_UNI;
	expect(0, ioctl_32(softonu, SOFTONU_IOC_HOOK_CALL, (uintptr_t)call), "hook call");
	expect(1, call->records, "hook call: records");
	expect(2, call->ret, "hook call: ret");
	expect(0, call->api_result, "hook call: result");
	expect(-EFAULT, ioctl_32(softonu, SOFTONU_IOC_HOOK_CALL, 0), "null hook call");
	expect(-EFAULT, ioctl_32(softonu, SOFTONU_IOC_HOOK_CALL, 0xfffff000), "hook call nowhere");
	expect(-EFAULT, ioctl_32(softonu, SOFTONU_IOC_HOOK_CALL, (uintptr_t)page + WHOLE_PAGES - 8),
	       "cut hook call");
	expect(-ENOTTY, ioctl_32(softonu, 0x7800, (uintptr_t)page), "unknown number");
	expect(0, ioctl_32(softonu, SOFTONU_IOC_HZ, (uintptr_t)page), "HZ");
	expect(1, *hz >= 100 && *hz <= 1200, "HZ in its range");
	close(softonu);
}

int main(void)
{
	unsigned char *page;

	if (call_32(GETPID_32, 0, 0, 0) != getpid()) {
		fprintf(stderr, "this kernel has no entry for 32-bit programs\n");
		return 3;
	}
	page = low_page();
	control_device(page);
	softonu_calls(page);
	printf("@@ %lu checks through the 32-bit entry, %d failed\n", checked, failures);
	return failures != 0;
}
