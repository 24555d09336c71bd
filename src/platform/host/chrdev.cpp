// SPDX-License-Identifier: GPL-2.0-only
#include <cerrno>

#include "platform/host/events.h"
#include "platform/host/faults.h"
#include "platform/host/state.h"

#include "platform/api/kernel_api.h"

namespace gpon::host {
namespace {

struct character_device {
    unsigned int major;
    const gpon_file_operations* operations;
};
std::optional<character_device> device;

int add_device(unsigned int major, const gpon_file_operations* operations)
{
    if (device || take_fault(fault::chrdev))
        return -EBUSY;
    device = {major, operations};
    return 0;
}

} // namespace

std::optional<long> ioctl(uint32_t command, uint64_t argument)
{
    if (!device)
        return std::nullopt;
    file opened;
    if (const int refused = device->operations->open(&opened))
        return refused;
    return device->operations->unlocked_ioctl(&opened, command, argument);
}

void drop_chrdev()
{
    device.reset();
}

} // namespace gpon::host

using namespace gpon::host;

int __register_chrdev(unsigned int major, unsigned int first_minor, unsigned int minors,
                      const char* name, const gpon_file_operations* operations)
{
    const int ret = add_device(major, operations);
    record_call("register_chrdev %u %u %u %s = %d", major, first_minor, minors, name, ret);
    return ret;
}

void __unregister_chrdev(unsigned int major, unsigned int first_minor, unsigned int minors,
                         const char* name)
{
    record_call("unregister_chrdev %u %u %u %s", major, first_minor, minors, name);
    if (device && device->major == major)
        device.reset();
}
