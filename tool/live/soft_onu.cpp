// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/soft_onu.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>

#include "softonu/softonu_uapi.h"

namespace gponflow {

namespace {

softonu_mapping mapping_of(const pointer_setting& setting)
{
    softonu_mapping mapping = {};
    mapping.mode = setting.result ? SOFTONU_MAPPING_RESULT : SOFTONU_MAPPING_NONE;
    mapping.result = setting.result.value_or(0);
    return mapping;
}

softonu_hook_call call_of(const packet_options& options, const bytes* frame)
{
    softonu_hook_call call = {};
    call.options = SOFTONU_CALL_NO_DEFAULT;
    call.api_type = options.kind;
    call.api_param = options.param;
    if (frame) {
        call.options |= SOFTONU_CALL_PACKET;
        call.frame = reinterpret_cast<uintptr_t>(frame->data());
        call.frame_bytes = static_cast<__u32>(frame->size());
        call.flag_word = options.flags;
        call.port_word = options.port_word;
        call.mark_word = options.mark_word;
        call.gemport_id = options.gem;
        call.multicast = options.multicast;
    }
    return call;
}

} // namespace

soft_onu soft_onu::open()
{
    soft_onu opened(descriptor(::open(SOFTONU_DEVICE, O_RDWR | O_CLOEXEC)));
    if (!opened.device_)
        throw refusal(std::string("cannot open " SOFTONU_DEVICE ": ") + std::strerror(errno) +
                      " (is gpon_softonu loaded, and are you root?)");
    __u32 on = 1;
    opened.control(SOFTONU_IOC_SET_REPORT, &on, "report mapping calls");
    return opened;
}

soft_onu::~soft_onu()
{
    if (!device_)
        return;
    __u32 off = 0;
    ioctl(device_.get(), SOFTONU_IOC_SET_REPORT, &off);
}

void soft_onu::control(unsigned long request, void* argument, const char* action)
{
    if (ioctl(device_.get(), request, argument) != 0)
        throw refusal(std::string(SOFTONU_DEVICE ": cannot ") + action + ": " +
                      std::strerror(errno));
}

std::optional<hook_return> soft_onu::hook(const packet_options& options, const bytes* frame)
{
    softonu_hook_call call = call_of(options, frame);
    control(SOFTONU_IOC_HOOK_CALL, &call, "make the hook call");
    if (call.records == 0)
        return {};
    return hook_return{call.ret, call.api_result, call.gemport_id, call.flag_word};
}

void soft_onu::set_mapping(const pointer_setting& setting)
{
    softonu_mapping mapping = mapping_of(setting);
    control(SOFTONU_IOC_SET_MAPPING, &mapping, "set the mapping");
}

void soft_onu::set_queue_mapping(const pointer_setting& setting)
{
    softonu_mapping mapping = mapping_of(setting);
    control(SOFTONU_IOC_SET_QUEUE_MAPPING, &mapping, "set the queue mapping");
}

std::optional<std::string_view> reported_call(std::string_view line)
{
    constexpr std::string_view mark = "gpon_softonu: @ ";
    if (!line.starts_with(mark))
        return {};
    return line.substr(mark.size());
}

} // namespace gponflow
