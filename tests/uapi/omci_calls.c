/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * What an OMCI stack does with the module's device, in plain C: one service from the first call to
 * the last, and what a refused call looks like.
 *
 *     omci_calls [DEVICE]
 *
 * It needs src/include/uapi/gpon_flow.h and nothing else of this tree. It leaves its service
 * provisioned: UNI 1 and VLAN 100 on GEM port 1025.
 */
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "include/uapi/gpon_flow.h"

/* Attribute n of a managed entity in an attribute mask. */
#define ATTRIBUTE(n) (1u << (16 - (n)))
#define ALL_ATTRIBUTES 0xffffu

enum {
    CLASS_BRIDGE = 45,
    CLASS_BRIDGE_PORT = 47,
    CLASS_VLAN_FILTER = 84,
    CLASS_TCONT = 262,
    CLASS_GEM_INTERWORKING = 266,
    CLASS_GEM_CTP = 268,
    CLASS_UNKNOWN = 9999
};

static int device;

/* Addresses travel as 64-bit numbers, so that a 32-bit program has the same records. */
static uint64_t address_of(const void *memory)
{
    return (uint64_t)(uintptr_t)memory;
}

/* The module copies everything during the call: record and raw record may lie on the stack. */
static int send_record(const struct gpon_flow_cmd *record)
{
    return ioctl(device, GPON_FLOW_IOC_COMMAND, record);
}

/* raw is always the whole raw record of the class, also for a set of one attribute: the module
 * copies all of it and lets the mask say what the command is about. */
static int send_me(uint8_t message, uint16_t class_id, uint16_t instance, unsigned int mask,
                   const void *raw)
{
    struct gpon_flow_cmd record;

    memset(&record, 0, sizeof(record));
    record.cmd = GPON_FLOW_CMD_ME;
    record.me.msg_type = message;
    record.me.class_id = class_id;
    record.me.inst_id = instance;
    record.me.attr_mask = (uint16_t)mask;
    record.me.attr_data = address_of(raw);
    return send_record(&record);
}

static int create(uint16_t class_id, uint16_t instance, const void *raw)
{
    return send_me(ZR_OMCI_MSG_TYPE_CREAT, class_id, instance, ALL_ATTRIBUTES, raw);
}

/* What the ONU has apart from what the OLT provisions: queues 0 to 31 are upstream, eight to a
 * T-CONT; 32 and up are downstream, eight to a UNI. */
static int send_defaults(void)
{
    struct gpon_flow_cfg_data defaults;
    struct gpon_flow_cmd record;

    memset(&defaults, 0, sizeof(defaults));
    defaults.upstream_queue_num = 32;
    defaults.related_port_boundary = 0x80000000u;
    defaults.default_weight = 1;
    defaults.queues_per_uni = 8;
    defaults.queues_per_tcont = 8;
    defaults.downstream_queue_base = 32;
    defaults.tcont_base = 0x7fff;
    memset(&record, 0, sizeof(record));
    record.cmd = GPON_FLOW_CMD_CFG_DATA;
    record.cfg_data = address_of(&defaults);
    return send_record(&record);
}

/* After an OMCI MIB reset: every learnt rule and every instance goes. */
static int send_mib_reset(void)
{
    struct gpon_flow_cmd record;

    memset(&record, 0, sizeof(record));
    record.cmd = GPON_FLOW_CMD_CLEAN;
    return send_record(&record);
}

static int create_gem_port(uint16_t instance, uint16_t port, uint16_t interworking)
{
    struct gpon_raw_gemctp ctp;
    struct gpon_raw_gemiw termination;
    struct gpon_raw_tcont tcont;

    memset(&tcont, 0, sizeof(tcont));
    tcont.instID = 0x8000;
    tcont.allocID = 256;
    memset(&ctp, 0, sizeof(ctp));
    ctp.instID = instance;
    ctp.portID = port;
    ctp.tcontID = tcont.instID;
    ctp.direction = 3;
    memset(&termination, 0, sizeof(termination));
    termination.instID = interworking;
    termination.gemCTPInstID = instance;
    /* The ONU has its T-CONTs: an OLT sets them and creates none. */
    if (send_me(ZR_OMCI_MSG_TYPE_SET, CLASS_TCONT, tcont.instID, ATTRIBUTE(1), &tcont))
        return -1;
    if (create(CLASS_GEM_CTP, instance, &ctp))
        return -1;
    return create(CLASS_GEM_INTERWORKING, interworking, &termination);
}

static int create_bridge_port(uint16_t instance, uint16_t bridge, uint8_t type, uint16_t pointer)
{
    struct gpon_raw_mbpcd port;

    memset(&port, 0, sizeof(port));
    port.instID = instance;
    port.bridgeID = bridge;
    port.tpType = type;
    port.tpPointer = pointer;
    return create(CLASS_BRIDGE_PORT, instance, &port);
}

/* Bridge 1 between UNI 1 (PPTP 0x0101) and the GEM interworking termination point 0x11. */
static int create_bridge(void)
{
    struct gpon_raw_mbsp bridge;

    memset(&bridge, 0, sizeof(bridge));
    bridge.instID = 1;
    bridge.uniBridgingEnable = 1;
    if (create(CLASS_BRIDGE, bridge.instID, &bridge))
        return -1;
    if (create_bridge_port(0x0101, bridge.instID, 1, 0x0101))
        return -1;
    return create_bridge_port(0x1001, bridge.instID, 5, 0x11);
}

/* A filter has the id of the bridge port that it belongs to. */
static int send_filter(uint8_t message, uint16_t vlan, unsigned int mask)
{
    struct gpon_raw_vtfd filter;

    memset(&filter, 0, sizeof(filter));
    filter.instID = 0x1001;
    filter.vlanFilterList[0] = vlan;
    filter.forwardOperation = 0x04;
    filter.vlanFilterNums = 1;
    return send_me(message, CLASS_VLAN_FILTER, filter.instID, mask, &filter);
}

/* A bridge port that the OLT takes back: a delete needs no raw record. */
static int create_and_delete(void)
{
    if (create_bridge_port(0x2001, 1, 5, 0x11))
        return -1;
    return send_me(ZR_OMCI_MSG_TYPE_DELETE, CLASS_BRIDGE_PORT, 0x2001, 0, NULL);
}

/* The operator's words; each lies in 32 bytes, which the module reads whole. */
static int switch_on(void)
{
    char words[GPON_FLOW_DEBUG_WORDS][GPON_FLOW_DEBUG_WORD_BYTES] = {"set", "enable", "1", ""};
    struct gpon_flow_cmd record;
    int i;

    memset(&record, 0, sizeof(record));
    record.cmd = GPON_FLOW_CMD_DEBUG;
    for (i = 0; i < 3; i++)
        record.args[i] = address_of(words[i]);
    return send_record(&record);
}

static int report(const char *command, int returned)
{
    if (returned)
        printf("%s: %s\n", command, strerror(errno));
    else
        printf("%s: done\n", command);
    return returned != 0;
}

/* A refused command is EPERM, whatever the reason: the kernel log has it. */
static int report_refused(const char *command, int returned, int expected)
{
    int as_expected = returned == -1 && errno == expected;

    printf("%s: %s\n", command, as_expected ? "refused" : "not refused as it should be");
    return !as_expected;
}

static int provision(void)
{
    unsigned int vlan_list = ATTRIBUTE(1) | ATTRIBUTE(2) | ATTRIBUTE(3);
    int failures = 0;

    failures += report("MIB reset", send_mib_reset());
    failures += report("defaults", send_defaults());
    failures += report("GEM port 1025", create_gem_port(1, 1025, 0x11));
    failures += report("bridge", create_bridge());
    failures += report("filter, VLAN 200",
                       send_filter(ZR_OMCI_MSG_TYPE_CREAT, 200, ALL_ATTRIBUTES));
    failures += report("filter, VLAN 100", send_filter(ZR_OMCI_MSG_TYPE_SET, 100, vlan_list));
    failures += report("bridge port, taken back", create_and_delete());
    failures += report("engine on", switch_on());
    return failures;
}

static int make_mistakes(void)
{
    uint8_t raw[64] = {0};
    int failures = 0;

    failures += report_refused("unknown class", create(CLASS_UNKNOWN, 1, raw), EPERM);
    failures += report_refused("raw record at no address", create(CLASS_BRIDGE, 2, NULL), EPERM);
    failures += report_refused("unknown ioctl", ioctl(device, 0x40007701u, NULL), ENOTTY);
    return failures;
}

int main(int count, char **words)
{
    const char *path = count > 1 ? words[1] : "/dev/" GPON_FLOW_DEVICE_NAME;
    int failures;

    device = open(path, O_RDWR);
    if (device < 0) {
        perror(path);
        return 2;
    }
    failures = provision() + make_mistakes();
    close(device);
    return failures ? 1 : 0;
}
