// SPDX-License-Identifier: GPL-2.0-only
/*
 * quiet_unload missed|nothing: unloads the module while its events are quiet, because one reached nobody.
 * A listener that missed an event meanwhile reads ENOBUFS at the unload, one that missed nothing does not.
 * Needs a quiet time that is longer than this program runs.
 */
#define _GNU_SOURCE
#include <linux/filter.h>
#include <sys/syscall.h>

#include "graph.h"
#include "netlink_client.h"

/* Accepts no message, so an event reaches nobody. */
static void begin_quiet_time(int softonu)
{
	struct sock_filter nothing = { .code = BPF_RET | BPF_K };
	const struct sock_fprog filter = { 1, &nothing };
	struct softonu_hook_call call;
	int unused = 0;

	if (setsockopt(netlink, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof(filter)) ||
	    send_packet(softonu, DOWN_UNI, 1, 2, 0, &call) ||
	    setsockopt(netlink, SOL_SOCKET, SO_DETACH_FILTER, &unused, sizeof(unused)))
		fail("no quiet time: %s", strerror(errno));
}

/* The errno of a read, 0 for a message. */
static int error_of_read(void)
{
	return recv(netlink, reply, sizeof(reply), MSG_DONTWAIT) < 0 ? errno : 0;
}

static void expect_read(int wanted, const char *when)
{
	const int got = error_of_read();

	if (got != wanted)
		fail("%s: expected '%s', got '%s'", when, strerror(wanted), strerror(got));
}

int main(int count, char **words)
{
	const bool misses = count == 2 && !strcmp(words[1], "missed");
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);
	struct softonu_hook_call call;
	uint32_t first;

	netlink = open_netlink();
	find_family();
	join_events();
	first = last_event();
	begin_quiet_time(softonu);
	if (misses && send_packet(softonu, DOWN_UNI, 3, 2, 0, &call))
		fail("no frame: %s", strerror(errno));
	if (last_event() - first != 1u + misses)
		fail("%u events, expected %u", last_event() - first, 1u + misses);
	expect_read(EAGAIN, "in the quiet time");
	if (syscall(SYS_delete_module, "gpon_flow", O_NONBLOCK))
		fail("gpon_flow does not unload: %s", strerror(errno));
	if (misses)
		expect_read(ENOBUFS, "at the unload");
	expect_read(EAGAIN, "after the unload");
	return 0;
}
