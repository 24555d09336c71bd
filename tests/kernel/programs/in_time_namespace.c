// SPDX-License-Identifier: GPL-2.0-only
/*
 * in_time_namespace SECONDS PROGRAM ARGUMENT...: runs a program whose CLOCK_MONOTONIC is so many seconds
 * ahead of that of the kernel. Exit status 77: the kernel has no time namespaces; otherwise that of the
 * program.
 */
#define _GNU_SOURCE
#include <sched.h>
#include <stdlib.h>
#include <sys/wait.h>

#include "child.h"

#ifndef CLONE_NEWTIME
#define CLONE_NEWTIME 0x80
#endif

enum { ABSENT = 77 };

static void be_ahead(const char *seconds)
{
	FILE *offsets;

	if (unshare(CLONE_NEWTIME))
		exit(ABSENT);
	offsets = fopen("/proc/self/timens_offsets", "w");
	if (!offsets || fprintf(offsets, "monotonic %s 0", seconds) < 0 || fclose(offsets)) {
		perror("/proc/self/timens_offsets");
		exit(2);
	}
}

int main(int argc, char **argv)
{
	int status;
	pid_t child;

	if (argc < 3)
		return 2;
	be_ahead(argv[1]);
	/* This process itself stays in the old namespace. */
	child = fork_child();
	if (child == 0) {
		execvp(argv[2], argv + 2);
		perror(argv[2]);
		_exit(2);
	}
	if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status))
		return 2;
	return WEXITSTATUS(status);
}
