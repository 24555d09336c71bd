// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/backends.h"

#include "tool/live/device_backend.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

std::vector<std::string> backend_names()
{
    return {"host", "device"};
}

std::unique_ptr<backend> make_backend(std::string_view name)
{
    if (name == "host")
        return make_host_backend();
    if (name == "device")
        return make_device_backend();
    throw refusal("unknown backend '" + std::string(name) + "'");
}

} // namespace gponflow
