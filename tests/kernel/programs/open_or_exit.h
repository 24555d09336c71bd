/* SPDX-License-Identifier: GPL-2.0-only */
/* Files without which a test program cannot run. */
#ifndef OPEN_OR_EXIT_H
#define OPEN_OR_EXIT_H

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>

static inline int open_or_exit(const char* file, int mode)
{
    const int descriptor = open(file, mode | O_CLOEXEC);

    if (descriptor < 0) {
        perror(file);
        exit(2);
    }
    return descriptor;
}

#endif
