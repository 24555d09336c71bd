/* SPDX-License-Identifier: GPL-2.0-only */
/* Checks that continue after a failure: each is counted, each failure printed. */
#ifndef EXPECT_H
#define EXPECT_H

#include <stdio.h>

/* A multiple of every page size of both architectures. */
#define WHOLE_PAGES 65536

static int failures;
static unsigned long checked;

static void expect(long wanted, long got, const char* name)
{
    checked++;
    if (wanted == got)
        return;
    failures++;
    printf("%s: expected %ld, got %ld\n", name, wanted, got);
}

#endif
