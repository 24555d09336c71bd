// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/module_file.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <vector>

#include "tool/live/descriptor.h"
#include "tool/scenario/backend.h"

namespace gponflow {

namespace {

std::vector<std::string> candidates()
{
    if (const char* named = std::getenv("GPON_FLOW_MODULE"))
        return {named};
    utsname kernel = {};
    uname(&kernel);
    const std::string modules = std::string("/lib/modules/") + kernel.release;
    return {modules + "/updates/dkms/gpon_flow.ko", modules + "/extra/gpon_flow.ko",
            modules + "/updates/gpon_flow.ko"};
}

descriptor open_module()
{
    std::string tried;
    for (const std::string& file : candidates()) {
        if (descriptor found(open(file.c_str(), O_RDONLY | O_CLOEXEC)); found)
            return found;
        tried += " " + file;
    }
    throw refusal("gpon_flow.ko not found; tried" + tried + " (set GPON_FLOW_MODULE to its path)");
}

} // namespace

bool is_module_loaded()
{
    return access("/sys/module/gpon_flow", F_OK) == 0;
}

std::optional<ino_t> module_identity()
{
    struct stat folder;
    if (stat("/sys/module/gpon_flow", &folder) != 0)
        return std::nullopt;
    return folder.st_ino;
}

bool is_module_ready()
{
    std::ifstream file("/sys/module/gpon_flow/initstate");
    std::string state;
    return file >> state && state == "live";
}

int load_module()
{
    const descriptor file = open_module();
    return syscall(SYS_finit_module, file.get(), "", 0) == 0 ? 0 : -errno;
}

int unload_module()
{
    return syscall(SYS_delete_module, "gpon_flow", O_NONBLOCK) == 0 ? 0 : -errno;
}

} // namespace gponflow
