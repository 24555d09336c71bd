// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/control.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <string>

#include "include/uapi/gpon_flow.h"

namespace gponflow {

namespace {

// User pointers are addresses of this process, which the module copies from during the call.
uint64_t address(const void* of)
{
    return reinterpret_cast<uintptr_t>(of);
}

uint64_t address(const std::optional<bytes>& record)
{
    return record ? address(record->data()) : 0;
}

std::optional<long> send_record(backend& to, const gpon_flow_cmd& record)
{
    return to.ioctl(GPON_FLOW_IOC_COMMAND, address(&record));
}

} // namespace

std::optional<long> send(backend& to, const me_command& command)
{
    gpon_flow_cmd record{};
    record.cmd = GPON_FLOW_CMD_ME;
    record.me.msg_type = command.message;
    record.me.class_id = gpon::class_number(command.class_id);
    record.me.inst_id = command.instance;
    record.me.attr_mask = command.mask;
    record.me.attr_data = address(command.raw);
    return send_record(to, record);
}

std::optional<long> send(backend& to, const config_command& command)
{
    gpon_flow_cmd record{};
    record.cmd = GPON_FLOW_CMD_CFG_DATA;
    record.cfg_data = address(command.raw);
    return send_record(to, record);
}

std::optional<long> send(backend& to, const debug_command& command)
{
    std::array<std::array<char, GPON_FLOW_DEBUG_WORD_BYTES>, GPON_FLOW_DEBUG_WORDS> words{};
    gpon_flow_cmd record{};
    record.cmd = GPON_FLOW_CMD_DEBUG;
    for (size_t i = 0; i < command.words.size(); ++i) {
        std::ranges::copy(command.words[i], words[i].begin());
        record.args[i] = address(&words[i]);
    }
    return send_record(to, record);
}

std::optional<long> send(backend& to, const clean_command&)
{
    gpon_flow_cmd record{};
    record.cmd = GPON_FLOW_CMD_CLEAN;
    return send_record(to, record);
}

std::optional<long> send(backend& to, const ioctl_command& command)
{
    gpon_flow_cmd record{};
    record.cmd = command.cmd.value_or(0);
    return to.ioctl(command.number, command.cmd ? address(&record) : 0);
}

std::optional<long> send_line(backend& to, std::string_view line)
{
    if (const std::optional<long> result = to.proc_write(line))
        return result;
    debug_command words;
    std::istringstream rest{std::string(line)};
    for (std::string word; rest >> word;)
        words.words.push_back(word);
    return send(to, words);
}

} // namespace gponflow
