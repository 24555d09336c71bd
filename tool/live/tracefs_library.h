// SPDX-License-Identifier: GPL-2.0-only
// The header of libtracefs, which is written for C.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <regex.h>
#include <sched.h>

struct tracefs_hist;
struct tracefs_instance;

// An inline function of the header passes a number for an enumeration, which C++ does not convert.
// Nothing calls that function.
inline int tracefs_hist_command(tracefs_instance*, tracefs_hist*, int)
{
    return -1;
}

extern "C" {
#include <tracefs.h>
}
