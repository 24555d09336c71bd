// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "chrdev.h"

#include "../base/log.h"
#include "../base/memory.h"
#include "../include/uapi/gpon_flow.h"
#include "command_events.h"
#include "control_record.h"

namespace {

constexpr long NOT_OURS = -25;        // -ENOTTY
constexpr long UNKNOWN_COMMAND = -14; // -EFAULT

int open_device(file*)
{
    return 0;
}

constexpr u32 type_of(u32 command)
{
    return (command >> 8) & 0xff;
}

constexpr u32 number_of(u32 command)
{
    return command & 0xff;
}

} // namespace

constinit const gpon_file_operations gpon_flow_file_operations = {open_device, gpon_flow_ioctl,
                                                                  gpon_flow_ioctl};

long gpon_flow_ioctl(file*, unsigned int command, unsigned long argument)
{
    if (type_of(command) != GLOBAL_GPON_IOC_MAGIC) {
        log_error("gpon_flow_ioctl: _IOC_TYPE(cmd) %x != GLOBAL_GPON_IOC_MAGIC %x\r\n",
                  type_of(command), GLOBAL_GPON_IOC_MAGIC);
        return gpon::refuse_command(NOT_OURS);
    }
    // Number 0 is the only valid one, although the message names a larger maximum.
    if (number_of(command) != 0) {
        log_error("_IOC_NR(cmd) %d > GLOBAL_GPON_IOC_MAX_NR %d\r\n", number_of(command),
                  GLOBAL_GPON_IOC_MAX_NR);
        return gpon::refuse_command(NOT_OURS);
    }
    const u32 masked = command & ~GPON_FLOW_IOC_SIZE_MASK;
    if (gpon::debug_level() & LOG_IOCTL)
        printk("gpon_flow_ioctl: Begin, cmd is 0x[%x]\r\n", masked);
    if (masked != GPON_FLOW_IOC_COMMAND)
        return gpon::refuse_command(UNKNOWN_COMMAND);
    const gpon::control_guard control;
    return gpon_flow_dispatch_omci_cmd(reinterpret_cast<const void*>(argument));
}
