/* SPDX-License-Identifier: GPL-2.0-only */
/* The character device, with which OMCI stacks configure the module. Process context; the control
 * mutex admits one caller at a time. */
#ifndef GPON_CORE_CHRDEV_H
#define GPON_CORE_CHRDEV_H

#include "../platform/api/kernel_api.h"

extern "C" {

extern const gpon_file_operations gpon_flow_file_operations;

/* Returns 0 or -1 from the command; -25 for an unknown type or number, -14 for any other command.
 */
long gpon_flow_ioctl(file*, unsigned int command, unsigned long argument);
}

#endif
