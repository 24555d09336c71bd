// SPDX-License-Identifier: GPL-2.0-only
// Faults in C++ code that is compiled like the core of gpon_flow: a detector that reports these
// also reports the same fault in the core. Volatile numbers hide the faults from the compiler.
#include "gpon_detect.h"

namespace {

template <typename T> T* block_of(unsigned long count)
{
    return static_cast<T*>(gpon_detect_alloc(count * sizeof(T)));
}

volatile int zero = 0;

struct table {
    int before;
    int entry[4];
    int after;
};

table small_table;

} // namespace

void gpon_detect_write_behind_block(void)
{
    auto* block = block_of<unsigned char>(40);
    block[40 + zero] = 1;
    gpon_detect_free(block);
}

void gpon_detect_use_after_free(void)
{
    auto* block = block_of<unsigned long>(8);
    block[3] = 1;
    gpon_detect_free(block);
    volatile unsigned long* gone = block;
    gone[3] = gone[3] + 1;
}

void gpon_detect_write_behind_stack(void)
{
    volatile unsigned char local[24] = {};
    volatile unsigned char* at = local;
    at[24 + zero] = 1;
}

void gpon_detect_shift(void)
{
    volatile int bits = 40;
    volatile unsigned int word = 1u << (bits + zero);
    (void)word;
}

void gpon_detect_index(void)
{
    volatile int index = 4;
    small_table.entry[index + zero] = 1;
}

void gpon_detect_add(unsigned long* word, unsigned long times)
{
    for (unsigned long i = 0; i < times; ++i)
        gpon_detect_hide(word)[0] += 1;
}
