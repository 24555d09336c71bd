/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * A client of the netlink family, on plain sockets: a guest has no netlink library. A program
 * defines _GNU_SOURCE before it includes anything.
 */
#ifndef NETLINK_CLIENT_H
#define NETLINK_CLIENT_H

#include <errno.h>
#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "include/uapi/gpon_flow_netlink.h"

#ifndef SOL_NETLINK
#define SOL_NETLINK 270
#endif

static int netlink;
static uint16_t family_id;
static uint32_t group_id;
static _Alignas(8) char reply[65536];

__attribute__((noreturn, format(printf, 1, 2))) static inline void fail(const char* text, ...)
{
    va_list args;

    va_start(args, text);
    vprintf(text, args);
    va_end(args);
    printf("\n");
    exit(1);
}

static inline int open_netlink(void)
{
    struct sockaddr_nl address = {.nl_family = AF_NETLINK};
    struct timeval patience = {.tv_sec = 10};
    int made = socket(AF_NETLINK, SOCK_RAW, NETLINK_GENERIC);

    if (made < 0 || bind(made, (struct sockaddr*)&address, sizeof(address)))
        fail("no netlink socket");
    setsockopt(made, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    return made;
}

static inline void send_bytes(int to, const void* bytes, size_t count)
{
    struct sockaddr_nl kernel = {.nl_family = AF_NETLINK};

    if (sendto(to, bytes, count, 0, (struct sockaddr*)&kernel, sizeof(kernel)) < 0)
        fail("send: %s", strerror(errno));
}

struct request {
    struct nlmsghdr head;
    struct genlmsghdr generic;
    char attributes[256];
};

static inline struct request make_request(uint16_t type, uint8_t command, uint16_t flags)
{
    struct request made = {0};

    made.head.nlmsg_len = NLMSG_LENGTH(GENL_HDRLEN);
    made.head.nlmsg_type = type;
    made.head.nlmsg_flags = NLM_F_REQUEST | flags;
    made.head.nlmsg_seq = 1;
    made.generic.cmd = command;
    made.generic.version = GPON_FLOW_NL_VERSION;
    return made;
}

static inline void add_attribute(struct request* to, uint16_t type, const void* data,
                                 uint16_t bytes)
{
    struct nlattr* made = (struct nlattr*)((char*)to + NLMSG_ALIGN(to->head.nlmsg_len));

    made->nla_type = type;
    made->nla_len = NLA_HDRLEN + bytes;
    memcpy(made + 1, data, bytes);
    to->head.nlmsg_len = NLMSG_ALIGN(to->head.nlmsg_len) + NLA_ALIGN(made->nla_len);
}

/* The bytes received, 0 when nothing comes, a negative errno. */
static inline int receive(int from)
{
    ssize_t got = recv(from, reply, sizeof(reply), 0);

    if (got < 0)
        return errno == EAGAIN ? 0 : -errno;
    return got;
}

/* Without the flag of a nest. */
static inline unsigned int type_of(const struct nlattr* attribute)
{
    return attribute->nla_type & NLA_TYPE_MASK;
}

static inline const void* data_of(const struct nlattr* attribute)
{
    return attribute + 1;
}

#define for_each_attribute(at, first, length) \
    for (const struct nlattr *at = (first), *end_##at = (const void*)((char*)at + (length)); \
         (char*)at + NLA_HDRLEN <= (char*)end_##at && at->nla_len >= NLA_HDRLEN; \
         at = (const void*)((char*)at + NLA_ALIGN(at->nla_len)))

#define for_each_in(at, nest) for_each_attribute(at, data_of(nest), (nest)->nla_len - NLA_HDRLEN)

static inline uint64_t number_of(const struct nlattr* at)
{
    uint64_t number = 0;

    memcpy(&number, data_of(at), (size_t)at->nla_len - NLA_HDRLEN);
    return number;
}

static inline void read_groups(const struct nlattr* groups)
{
    for_each_in(group, groups)
    {
        for_each_in(at, group)
        {
            if (type_of(at) == CTRL_ATTR_MCAST_GRP_ID)
                group_id = number_of(at);
        }
    }
}

static inline void find_family(void)
{
    struct request ask = make_request(GENL_ID_CTRL, CTRL_CMD_GETFAMILY, 0);
    const struct nlmsghdr* head = (const void*)reply;

    add_attribute(&ask, CTRL_ATTR_FAMILY_NAME, GPON_FLOW_NL_FAMILY, sizeof(GPON_FLOW_NL_FAMILY));
    send_bytes(netlink, &ask, ask.head.nlmsg_len);
    if (receive(netlink) <= 0 || head->nlmsg_type == NLMSG_ERROR)
        fail("no family");
    for_each_attribute(at, (const void*)(reply + NLMSG_HDRLEN + GENL_HDRLEN),
                       head->nlmsg_len - NLMSG_HDRLEN - GENL_HDRLEN)
    {
        if (type_of(at) == CTRL_ATTR_FAMILY_ID)
            family_id = number_of(at);
        if (type_of(at) == CTRL_ATTR_MCAST_GROUPS)
            read_groups(at);
    }
}

/* 0, or -1 and errno. */
static inline int try_to_join(void)
{
    return setsockopt(netlink, SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group_id, sizeof(group_id));
}

static inline void join_events(void)
{
    if (!group_id || try_to_join())
        fail("no events: %s", strerror(errno));
}

/* The value of an attribute in a message; 0 if it is absent. */
static inline uint64_t value_in(const struct nlmsghdr* head, unsigned int type)
{
    for_each_attribute(at, (const void*)((char*)NLMSG_DATA(head) + GENL_HDRLEN),
                       head->nlmsg_len - NLMSG_HDRLEN - GENL_HDRLEN)
    {
        if (type_of(at) == type)
            return number_of(at);
    }
    return 0;
}

static inline uint32_t event_of(const struct nlmsghdr* head)
{
    const struct genlmsghdr* generic = NLMSG_DATA(head);

    if (generic->cmd == GPON_FLOW_NL_CMD_INSTANCE_CHANGED)
        return value_in(head, GPON_FLOW_NL_INSTANCE_EVENT);
    if (generic->cmd == GPON_FLOW_NL_CMD_TABLE_GROWN || generic->cmd == GPON_FLOW_NL_CMD_GET_STATE)
        return value_in(head, GPON_FLOW_NL_STATE_EVENT);
    return value_in(head, GPON_FLOW_NL_RULE_EVENT);
}

/* By a socket of its own, so that no event comes between. */
static inline uint32_t last_event(void)
{
    struct request ask = make_request(family_id, GPON_FLOW_NL_CMD_GET_STATE, 0);
    int other = open_netlink();

    send_bytes(other, &ask, ask.head.nlmsg_len);
    if (receive(other) <= 0)
        fail("no state");
    close(other);
    return event_of((const void*)reply);
}

#endif
