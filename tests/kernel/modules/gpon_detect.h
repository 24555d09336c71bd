/* SPDX-License-Identifier: GPL-2.0-only */
/* The two halves of gpon_detect.ko: faults in C++ (gpon_detect_core.cpp), and what chooses them. */
#ifndef GPON_DETECT_H
#define GPON_DETECT_H

#ifdef __cplusplus
extern "C" {
#endif

/* From the C half: the kernel's allocator, and an identity that a compiler cannot see through. */
void* gpon_detect_alloc(unsigned long bytes);
void gpon_detect_free(void* block);
unsigned long* gpon_detect_hide(unsigned long* word);

/* From the C++ half, each a fault. */
void gpon_detect_write_behind_block(void);
void gpon_detect_use_after_free(void);
void gpon_detect_write_behind_stack(void);
void gpon_detect_shift(void);
void gpon_detect_index(void);
/* A fault when two run at the same time. */
void gpon_detect_add(unsigned long* word, unsigned long times);

#ifdef __cplusplus
}
#endif
#endif
