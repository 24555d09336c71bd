/* SPDX-License-Identifier: GPL-2.0-only */
/* The debug interpreter's entry point, for the doors below and beside it. */
#ifndef GPON_DEBUG_ENTRY_H
#define GPON_DEBUG_ENTRY_H

#include "../base/types.h"

/* Words of one command: at most four, each at most 31 characters; absent ones are null. One more
 * entry, always null, lets a handler look at the word behind the last. */
constexpr u32 GPON_DBG_WORDS = 4;
constexpr size_t GPON_DBG_WORD_BYTES = 32;

struct gpon_dbg_words {
    char text[GPON_DBG_WORDS][GPON_DBG_WORD_BYTES];
    const char* argv[GPON_DBG_WORDS + 1];
};

extern "C" {

/* Interprets one command; answers the handler's status, 0. argc is the number of words, or the
 * scan's -1 for a line without any. Control path. */
u32 gpon_dbg_parsing_cmd(u32 argc, const char* const* argv);
}

#endif
