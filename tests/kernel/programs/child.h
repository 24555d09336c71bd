/* SPDX-License-Identifier: GPL-2.0-only */
/* A child process that ends with its parent, however that ends. */
#ifndef CHILD_H
#define CHILD_H

#include <signal.h>
#include <stdio.h>
#include <sys/prctl.h>
#include <unistd.h>

/* As fork(). */
static inline pid_t fork_child(void)
{
    const pid_t parent = getpid();
    pid_t made;

    /* Otherwise both print what waits in the buffer. */
    fflush(stdout);
    made = fork();
    if (made == 0 && (prctl(PR_SET_PDEATHSIG, SIGKILL) || getppid() != parent))
        _exit(2);
    return made;
}

#endif
