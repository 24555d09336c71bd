// SPDX-License-Identifier: GPL-2.0-only
/*
 * state_during_events: reads the state again and again while another process changes an instance. The
 * number of the last event in the state is that of an event that a listener has already in its buffer. The
 * caller makes the sending of events late. Prints the number of events.
 */
#define _GNU_SOURCE
#include <sched.h>
#include <sys/wait.h>

#include "child.h"
#include "graph.h"
#include "netlink_client.h"
#include "processor.h"

enum { EVENTS = 20, DESCRIPTOR = 280 };

static void change(void)
{
	struct gpon_raw_td raw = { .instID = 0x321 };
	const struct entity entity = ENTITY(DESCRIPTOR, raw);
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);
	int failed;

	stay_on(1);
	failed = send_me(device, ZR_OMCI_MSG_TYPE_CREAT, &entity);
	for (raw.cir = 1; raw.cir < EVENTS - 1; raw.cir++)
		failed |= send_me(device, ZR_OMCI_MSG_TYPE_SET, &entity);
	failed |= send_me(device, ZR_OMCI_MSG_TYPE_DELETE, &entity);
	_exit(failed ? 1 : 0);
}

/* The number of the newest event that waits in the buffer, or the one before. */
static uint32_t newest_received(uint32_t newest)
{
	ssize_t got;

	while ((got = recv(netlink, reply, sizeof(reply), MSG_DONTWAIT)) > 0)
		newest = event_of((const void *)reply);
	if (errno != EAGAIN)
		fail("no event: %s", strerror(errno));
	return newest;
}

int main(void)
{
	uint32_t first, last, received;
	int status, ended = 0;
	pid_t changer;

	netlink = open_netlink();
	find_family();
	join_events();
	first = last_event();
	received = first;
	stay_on(0);
	changer = fork_child();
	if (changer < 0)
		fail("no process for the changes: %s", strerror(errno));
	if (changer == 0)
		change();
	while (!ended) {
		ended = waitpid(changer, &status, WNOHANG);
		last = last_event();
		received = newest_received(received);
		if ((int32_t)(last - received) > 0)
			fail("the state has event %u, and a listener only %u", last, received);
	}
	if (ended != changer || status)
		fail("a command fails: %#x", status);
	if (last - first != EVENTS)
		fail("%u events of %d commands", last - first, EVENTS);
	printf("%u events\n", last - first);
	return 0;
}
