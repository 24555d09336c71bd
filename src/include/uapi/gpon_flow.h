/* SPDX-License-Identifier: GPL-2.0-only WITH Linux-syscall-note */
/*
 * The interface of the character device "gpon_flow" for OMCI stacks: the ioctl number, the control
 * record and the raw attribute records of the mirrored managed entities (ITU-T G.988 clause 9).
 *
 * All records are little-endian and naturally aligned. The first field of every raw record is the
 * managed entity id. Attribute masks follow G.988: bit 15 is attribute 1, bit 14 attribute 2.
 */
#ifndef GPON_FLOW_UAPI_H
#define GPON_FLOW_UAPI_H

#if defined(__KERNEL__) && !defined(__cplusplus)
#include <linux/types.h>
#else
#include <stdint.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define GPON_FLOW_DEVICE_NAME "gpon_flow"
#define GPON_FLOW_MAJOR 184
#define GPON_FLOW_MINORS 256

#define GLOBAL_GPON_IOC_MAGIC 0x77
#define GLOBAL_GPON_IOC_MAX_NR 1
/* The only ioctl, without size bits, which the module ignores. The argument is a pointer to struct
 * gpon_flow_cmd. */
#define GPON_FLOW_IOC_COMMAND 0x40007700u
#define GPON_FLOW_IOC_SIZE_MASK 0x3fff0000u

/* G.988 message types in struct gpon_me_cmd. */
enum {
    ZR_OMCI_MSG_TYPE_CREAT = 4,
    ZR_OMCI_MSG_TYPE_DELETE = 6,
    ZR_OMCI_MSG_TYPE_SET = 8
};

/* struct gpon_flow_cmd, cmd. */
enum {
    GPON_FLOW_CMD_ME = 0,         /* one create, set or delete; flushes every learnt rule */
    GPON_FLOW_CMD_CFG_DATA = 1,   /* load the default configuration */
    GPON_FLOW_CMD_DEBUG = 2,      /* up to four words for the debug interpreter */
    GPON_FLOW_CMD_CLEAN = 3       /* flush every rule, delete every instance */
};

#define GPON_FLOW_DEBUG_WORDS 4
#define GPON_FLOW_DEBUG_WORD_BYTES 32

/* One managed entity command, 16 bytes. */
struct gpon_me_cmd {
    uint8_t msg_type;
    uint8_t reserved;
    uint16_t class_id;
    uint16_t inst_id;
    uint16_t attr_mask;
    uint64_t attr_data; /* address of the class's whole raw record */
};

/* The control record, 64 bytes. */
struct gpon_flow_cmd {
    uint32_t cmd;
    uint32_t reserved;
    uint64_t args[GPON_FLOW_DEBUG_WORDS]; /* addresses of 32-byte words */
    uint64_t cfg_data;                    /* address of struct gpon_flow_cfg_data */
    struct gpon_me_cmd me;
};

/* The default configuration, 40 bytes; the reserved bytes are stored and not read. */
struct gpon_flow_cfg_data {
    uint8_t reserved0[8];
    uint16_t upstream_queue_num;    /* queue ids below it are upstream (T-CONT) queues */
    uint16_t reserved10;
    uint32_t related_port_boundary; /* relatedPort below it names a UNI, else a T-CONT */
    uint16_t default_ts_pointer;    /* traffic scheduler of queues created by the module */
    uint8_t default_weight;         /* weight of queues created by the module */
    uint8_t reserved19;
    uint32_t queues_per_uni;
    uint32_t queues_per_tcont;
    uint32_t downstream_queue_base; /* first downstream queue id */
    uint32_t tcont_base;
    uint8_t traffic_mgmt_option;    /* G.988 ONU-G: 1 = rate controlled */
    uint8_t reserved37[3];
};

/* Raw attribute records. Names follow the OMCI attributes. */

struct gpon_raw_pptp { /* 11, PPTP Ethernet UNI (9.5.1) */
    uint16_t instID;
};

struct gpon_raw_mbsp { /* 45, MAC bridge service profile (9.3.1) */
    uint16_t instID;
    uint8_t uniBridgingEnable;
    uint16_t helloTime;
    uint16_t dynFilterAgingTime;
};

struct gpon_raw_mbpcd { /* 47, MAC bridge port configuration data (9.3.4) */
    uint16_t instID;
    uint16_t bridgeID;
    uint8_t tpType; /* 1 PPTP, 3 mapper, 5 GEM IW TP, 6 multicast GEM IW TP, 11 VEIP */
    uint16_t tpPointer;
};

struct gpon_raw_vtocd { /* 78, VLAN tagging operation configuration data (9.3.12) */
    uint16_t instID;
};

struct gpon_raw_vtfd { /* 84, VLAN tagging filter data (9.3.11) */
    uint16_t instID;
    uint16_t vlanFilterList[12]; /* TCIs */
    uint8_t forwardOperation;
    uint8_t vlanFilterNums;
};

struct gpon_raw_mapper { /* 130, 802.1p mapper service profile (9.3.10) */
    uint16_t instID;
    uint16_t tpPointer;
    uint16_t pbit_GemIWTP[8]; /* GEM IW TP of priority 0 to 7 */
    uint8_t unmark_frame_opt; /* 0 = DSCP, 1 = defaultPbit */
    uint8_t dscp2pbitMap[24]; /* 64 fields of 3 bits, most significant bit first */
    uint8_t defaultPbit;
    uint8_t tpType;           /* 1 PPTP, 7 VEIP */
};

struct gpon_raw_evtocd { /* 171, extended VLAN tagging operation (9.3.13) */
    uint16_t instID;
};

struct gpon_raw_tcont { /* 262, T-CONT (9.2.2) */
    uint16_t instID;
    uint16_t allocID;
    uint8_t policy;
};

struct gpon_raw_gemiw { /* 266, GEM interworking TP (9.2.4) */
    uint16_t instID;
    uint16_t gemCTPInstID;
};

struct gpon_raw_gemctp { /* 268, GEM port network CTP (9.2.3) */
    uint16_t instID;
    uint16_t portID;
    uint16_t tcontID;
    uint32_t direction; /* 1 UNI-to-ANI, 2 ANI-to-UNI, 3 both */
    uint16_t trafficMgrPtrUp;
    uint16_t TDProPtrUp;
    uint16_t TDProPtrDown;
};

struct gpon_raw_pq { /* 277, priority queue (9.2.10) */
    uint16_t instID;
    uint32_t relatedPort; /* upper half T-CONT or UNI id, lower half priority */
    uint16_t tsPointer;
    uint8_t weight;
};

struct gpon_raw_ts { /* 278, traffic scheduler (9.2.11) */
    uint16_t instID;
    uint16_t tcontPointer;
    uint16_t tsPointer;
    uint8_t policy;
    uint8_t weight;
};

struct gpon_raw_td { /* 280, traffic descriptor (9.2.12) */
    uint16_t instID;
    uint32_t cir;
    uint32_t pir;
    uint32_t cbs;
    uint32_t pbs;
    uint8_t colourMode;
    uint8_t ingressColourMode;
    uint8_t egressColourMode;
    uint8_t meterType;
};

struct gpon_raw_multigemiw { /* 281, multicast GEM interworking TP (9.2.5) */
    uint16_t instID;
    uint16_t GemCTPInstID;
};

struct gpon_raw_veip { /* 329, virtual Ethernet interface point (9.5.5) */
    uint16_t instID;
};

#ifdef __cplusplus
}
#endif
#endif
