/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The kernel's generic netlink, as far as the glue's netlink.c uses it, for a process. A message is
 * a word of flags. The check of a dump is that of the kernel: it compares with the message before.
 */
#ifndef GPON_GLUE_GENETLINK_H
#define GPON_GLUE_GENETLINK_H

#include "../../kernel/stub.h"

#define NLM_F_MULTI 2u
#define NLM_F_DUMP_INTR 16u
#define GFP_KERNEL 0xcc0u
#define GENL_ADMIN_PERM 1

typedef unsigned long long u64;
typedef uint32_t u32;
typedef uint16_t u16;
typedef uint8_t u8;

struct nlmsghdr {
    u32 nlmsg_seq;
};

/* A buffer of messages. */
struct sk_buff {
    int len;
    int room;
    unsigned int flags[32];
};

struct netlink_callback {
    struct sk_buff* skb;
    const struct nlmsghdr* nlh;
    long args[6];
    unsigned int prev_seq;
    unsigned int seq;
};

struct genl_info {
    u32 snd_portid;
    u32 snd_seq;
};

struct genl_ops {
    u8 cmd;
    u8 flags;
    int (*doit)(struct sk_buff* request, struct genl_info* info);
    int (*start)(struct netlink_callback* cb);
    int (*dumpit)(struct sk_buff* msg, struct netlink_callback* cb);
    int (*done)(struct netlink_callback* cb);
};

struct nla_policy {
    int type;
};

struct genl_family {
    const char* name;
    unsigned int version;
    unsigned int maxattr;
    const struct nla_policy* policy;
    void* module;
    const struct genl_ops* ops;
    unsigned int n_ops;
    bool parallel_ops;
};

#ifdef __cplusplus
extern "C" {
#endif

void* genlmsg_put(struct sk_buff* msg, u32 port, u32 seq, const struct genl_family* family,
                  unsigned int flags, u8 command);
void genlmsg_cancel(struct sk_buff* msg, void* header);
void genlmsg_end(struct sk_buff* msg, void* header);
void genl_dump_check_consistent(struct netlink_callback* cb, void* header);
struct sk_buff* genlmsg_new(size_t bytes, unsigned int flags);
void nlmsg_free(struct sk_buff* msg);
int genlmsg_reply(struct sk_buff* msg, struct genl_info* info);
int genl_register_family(struct genl_family* family);
int genl_unregister_family(const struct genl_family* family);

#ifdef __cplusplus
}
#else

#include <errno.h>

#define ARRAY_SIZE(array) (sizeof(array) / sizeof((array)[0]))
#define THIS_MODULE NULL
#define pr_warn(...) ((void)0)

struct netlink_skb_parms {
    u32 portid;
};
#define NETLINK_CB(skb) ((struct netlink_skb_parms){0})

#endif
#endif
