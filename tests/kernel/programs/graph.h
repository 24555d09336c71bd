/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The interfaces of both modules for test programs, and a provisioning with every class: two
 * UNIs on a bridge, VLAN 100 and untagged frames to GEM port 1025, VLAN 200 to 1026, priorities of
 * a mapper to both, multicast from 4000.
 */
#ifndef GRAPH_H
#define GRAPH_H

#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "include/uapi/gpon_flow.h"
#include "softonu/softonu_uapi.h"
#include "tests/kernel/programs/open_or_exit.h"

enum { UP_UNI, UP_ANI, DOWN_UNI, DOWN_ANI, SWITCH, KINDS };

struct entity {
    uint16_t class_id;
    uint16_t instance;
    const void* raw;
};

#define ENTITY(class, raw) \
    { \
        class, (raw).instID, &(raw) \
    }

static const struct gpon_raw_mbsp mbsp = {.instID = 1};
static const struct gpon_raw_pptp pptp1 = {.instID = 0x101}, pptp2 = {.instID = 0x102};
static const struct gpon_raw_veip veip = {.instID = 0x601};
static const struct gpon_raw_tcont tcont = {.instID = 0x8001, .allocID = 256};
static const struct gpon_raw_ts scheduler = {.instID = 0x8001, .tcontPointer = 0x8001};
static const struct gpon_raw_td descriptor = {.instID = 1, .cir = 1000, .pir = 2000};
static const struct gpon_raw_pq queue = {.instID = 0x8001, .relatedPort = 0x80010000};
static const struct gpon_raw_gemctp ctp1 = {.instID = 1,
                                            .portID = 1025,
                                            .tcontID = 0x8001,
                                            .direction = 3,
                                            .trafficMgrPtrUp = 0x8001,
                                            .TDProPtrUp = 1};
static const struct gpon_raw_gemctp ctp2 = {
    .instID = 2, .portID = 1026, .tcontID = 0x8001, .direction = 3};
static const struct gpon_raw_gemctp ctp3 = {.instID = 3, .portID = 4000, .direction = 2};
static const struct gpon_raw_gemiw iw1 = {.instID = 1, .gemCTPInstID = 1};
static const struct gpon_raw_gemiw iw2 = {.instID = 2, .gemCTPInstID = 2};
static const struct gpon_raw_multigemiw iw3 = {.instID = 3, .GemCTPInstID = 3};
static const struct gpon_raw_mapper mapper = {
    .instID = 1,
    .tpPointer = 0xffff,
    .pbit_GemIWTP = {1, 1, 2, 2, 1, 1, 2, 2},
    .unmark_frame_opt = 1,
    .defaultPbit = 2,
};
static const struct gpon_raw_mbpcd uni1 = {
    .instID = 1, .bridgeID = 1, .tpType = 1, .tpPointer = 0x101};
static const struct gpon_raw_mbpcd uni2 = {
    .instID = 2, .bridgeID = 1, .tpType = 1, .tpPointer = 0x102};
static const struct gpon_raw_mbpcd gem1 = {
    .instID = 11, .bridgeID = 1, .tpType = 5, .tpPointer = 1};
static const struct gpon_raw_mbpcd gem2 = {
    .instID = 12, .bridgeID = 1, .tpType = 5, .tpPointer = 2};
static const struct gpon_raw_mbpcd gem3 = {
    .instID = 13, .bridgeID = 1, .tpType = 6, .tpPointer = 3};
static const struct gpon_raw_mbpcd by_mapper = {
    .instID = 14, .bridgeID = 1, .tpType = 3, .tpPointer = 1};
static const struct gpon_raw_vtfd filter1 = {
    .instID = 11, .vlanFilterList = {100}, .forwardOperation = 0x03, .vlanFilterNums = 1};
static const struct gpon_raw_vtfd filter2 = {
    .instID = 12, .vlanFilterList = {200}, .forwardOperation = 0x04, .vlanFilterNums = 1};
static const struct gpon_raw_vtocd tagging = {.instID = 1};
static const struct gpon_raw_evtocd extended_tagging = {.instID = 2};

static const struct entity graph[] = {
    ENTITY(45, mbsp),
    ENTITY(11, pptp1),
    ENTITY(11, pptp2),
    ENTITY(329, veip),
    ENTITY(262, tcont),
    ENTITY(278, scheduler),
    ENTITY(280, descriptor),
    ENTITY(277, queue),
    ENTITY(268, ctp1),
    ENTITY(268, ctp2),
    ENTITY(268, ctp3),
    ENTITY(266, iw1),
    ENTITY(266, iw2),
    ENTITY(281, iw3),
    ENTITY(130, mapper),
    ENTITY(47, uni1),
    ENTITY(47, uni2),
    ENTITY(47, gem1),
    ENTITY(47, gem2),
    ENTITY(47, gem3),
    ENTITY(47, by_mapper),
    ENTITY(84, filter1),
    ENTITY(84, filter2),
    ENTITY(78, tagging),
    ENTITY(171, extended_tagging),
};
#define ENTITIES (sizeof(graph) / sizeof(graph[0]))

static inline int send_me(int device, uint8_t message, const struct entity* entity)
{
    struct gpon_flow_cmd record = {.cmd = GPON_FLOW_CMD_ME};

    record.me.msg_type = message;
    record.me.class_id = entity->class_id;
    record.me.inst_id = entity->instance;
    record.me.attr_mask = 0xffff;
    record.me.attr_data = (uint64_t)(uintptr_t)entity->raw;
    return ioctl(device, GPON_FLOW_IOC_COMMAND, &record);
}

static inline int send_clean(int device)
{
    struct gpon_flow_cmd record = {.cmd = GPON_FLOW_CMD_CLEAN};

    return ioctl(device, GPON_FLOW_IOC_COMMAND, &record);
}

static inline int send_configuration(int device)
{
    const struct gpon_flow_cfg_data data = {.upstream_queue_num = 128,
                                            .default_weight = 1,
                                            .related_port_boundary = 0x80000000,
                                            .queues_per_uni = 8,
                                            .queues_per_tcont = 8,
                                            .tcont_base = 0x8000};
    struct gpon_flow_cmd record = {.cmd = GPON_FLOW_CMD_CFG_DATA};

    record.cfg_data = (uint64_t)(uintptr_t)&data;
    return ioctl(device, GPON_FLOW_IOC_COMMAND, &record);
}

/* Words are separated by single blanks, at most GPON_FLOW_DEBUG_WORDS of them. */
static inline int send_words(int device, const char* line)
{
    char words[GPON_FLOW_DEBUG_WORDS][GPON_FLOW_DEBUG_WORD_BYTES] = {{0}};
    struct gpon_flow_cmd record = {.cmd = GPON_FLOW_CMD_DEBUG};

    for (int i = 0; i < GPON_FLOW_DEBUG_WORDS && *line; i++) {
        const size_t length = strcspn(line, " ");

        memcpy(words[i], line, length);
        record.args[i] = (uint64_t)(uintptr_t)words[i];
        line += length + (line[length] == ' ');
    }
    return ioctl(device, GPON_FLOW_IOC_COMMAND, &record);
}

static inline int write_proc(const char* line)
{
    const int entry = open("/proc/gpon_flow/debug", O_WRONLY | O_CLOEXEC);
    long got;

    if (entry < 0)
        return -1;
    got = write(entry, line, strlen(line));
    close(entry);
    return got == (long)strlen(line) ? 0 : -1;
}

/* 0 when each command was taken. */
static inline int provision(int device)
{
    int failed = send_clean(device) != 0 || send_configuration(device) != 0;

    for (size_t i = 0; i < ENTITIES; i++)
        failed |= send_me(device, ZR_OMCI_MSG_TYPE_CREAT, &graph[i]) != 0;
    return failed ? -1 : 0;
}

/* A call without packet: switches the engine on or off. */
static inline int switch_engine(int softonu, uint32_t on)
{
    struct softonu_hook_call call = {.api_type = SWITCH, .api_param = on};

    return ioctl(softonu, SOFTONU_IOC_HOOK_CALL, &call);
}

/* One packet between two stations, with the outer VLAN or without (0). */
static inline int send_packet(int softonu, uint32_t kind, unsigned int from, unsigned int to,
                              unsigned int vlan, struct softonu_hook_call* call)
{
    unsigned char frame[64] = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 0x08, 0x00, 0x45};

    frame[5] = (unsigned char)to;
    frame[11] = (unsigned char)from;
    if (vlan) {
        const unsigned char tag[4] = {0x81, 0, (unsigned char)(0x40 | vlan >> 8),
                                      (unsigned char)vlan};

        memmove(frame + 16, frame + 12, sizeof(frame) - 16);
        memcpy(frame + 12, tag, sizeof(tag));
    }
    memset(call, 0, sizeof(*call));
    call->options = SOFTONU_CALL_PACKET;
    call->frame = (uint64_t)(uintptr_t)frame;
    call->frame_bytes = sizeof(frame);
    call->api_type = kind;
    call->port_word = (uint32_t)(1 + from % 2) << 4;
    call->gemport_id = kind == DOWN_ANI ? (uint16_t)(1025 + from % 2) : 0;
    return ioctl(softonu, SOFTONU_IOC_HOOK_CALL, call);
}

#endif
