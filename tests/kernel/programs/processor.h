/* SPDX-License-Identifier: GPL-2.0-only */
/* A process that stays on one processor. A program defines _GNU_SOURCE before it includes anything.
 */
#ifndef PROCESSOR_H
#define PROCESSOR_H

#include <sched.h>
#include <stdio.h>
#include <unistd.h>

static inline void stay_on(int processor)
{
    cpu_set_t set;

    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    if (sched_setaffinity(0, sizeof(set), &set)) {
        perror("sched_setaffinity");
        _exit(2);
    }
}

#endif
