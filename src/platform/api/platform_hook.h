/* SPDX-License-Identifier: GPL-2.0-only */
/* The records that the platform's hook framework and the module exchange; plain C. */
#ifndef GPON_PLATFORM_HOOK_H
#define GPON_PLATFORM_HOOK_H

#include "record_layout.h"

#ifdef __cplusplus
extern "C" {
#endif

struct sk_buff;

/* Kinds of hook call (api_type). */
enum gpon_api_type {
    GPON_API_UP_UNI = 0,   /* received on a UNI, going upstream */
    GPON_API_UP_ANI = 1,   /* about to leave towards the ANI: GEM port choice */
    GPON_API_DOWN_UNI = 2, /* about to leave downstream on a UNI */
    GPON_API_DOWN_ANI = 3, /* received from a GEM port */
    GPON_API_SWITCH = 4    /* engine switch; no packet */
};

/* Return value of a hook function, independent of the result for the packet. */
enum { GPON_HOOK_RETURN = 2 };

/* Argument of one hook call; owned by the platform. */
struct api_data {
    unsigned int api_type;  /* enum gpon_api_type */
    unsigned int api_param; /* GPON_API_SWITCH: the new switch value */
    int api_result;         /* out: 0 handled, 1 failed, -1 unknown kind */
    struct sk_buff* skb;    /* may be null */
} GPON_KEEP_LAYOUT;
GPON_MEMBER_AT(struct api_data, api_type, 0);
GPON_MEMBER_AT(struct api_data, api_param, 4);
GPON_MEMBER_AT(struct api_data, api_result, 8);
GPON_MEMBER_AT(struct api_data, skb, sizeof(struct api_data) - sizeof(void*));

/* Registration record of one hook; the framework owns the link words while it is registered. */
struct vorn_hook_ops {
    void* link[3];
    const char* name;
    unsigned int enable;
    int (*hook)(struct api_data* data);
    int hook_id;
    int priority;
} GPON_KEEP_LAYOUT;
GPON_MEMBER_AT(struct vorn_hook_ops, link, 0);
GPON_MEMBER_AT(struct vorn_hook_ops, name, 3 * sizeof(void*));
GPON_MEMBER_AT(struct vorn_hook_ops, enable, 4 * sizeof(void*));
GPON_MEMBER_AT(struct vorn_hook_ops, hook, 5 * sizeof(void*));
GPON_MEMBER_AT(struct vorn_hook_ops, hook_id, 6 * sizeof(void*));
GPON_MEMBER_AT(struct vorn_hook_ops, priority, 6 * sizeof(void*) + sizeof(int));

#ifdef __cplusplus
}
#endif
#endif
