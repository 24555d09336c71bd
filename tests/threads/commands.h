// SPDX-License-Identifier: GPL-2.0-only
// Commands of the threads, through the character device.
#pragma once

#include <cstdint>

#include <gtest/gtest.h>

#include "include/me_class_id.h"
#include "include/uapi/gpon_flow.h"
#include "platform/host/host.h"

template <typename Raw> gpon_flow_cmd record_of(uint8_t message, me_class class_id, const Raw& raw)
{
    gpon_flow_cmd record = {};
    record.me.msg_type = message;
    record.me.class_id = gpon::class_number(class_id);
    record.me.inst_id = raw.instID;
    record.me.attr_mask = 0xffff;
    record.me.attr_data = reinterpret_cast<uintptr_t>(&raw);
    return record;
}

template <typename Raw> void send(uint8_t message, me_class class_id, const Raw& raw)
{
    const gpon_flow_cmd record = record_of(message, class_id, raw);
    EXPECT_EQ(gpon::host::ioctl(GPON_FLOW_IOC_COMMAND, reinterpret_cast<uintptr_t>(&record)), 0);
}
