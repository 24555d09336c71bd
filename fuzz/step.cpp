// SPDX-License-Identifier: GPL-2.0-only
#include "fuzz/step.h"

#include <array>
#include <cstring>

#include "include/uapi/gpon_flow.h"

#include "me/registry.h"

namespace gponflow::fuzz {

namespace {

// The more entries a kind has here, the more often random bytes select it.
enum class kind : uint8_t {
    me,
    me2,
    me3,
    me4,
    packet,
    packet2,
    hook,
    proc_write,
    debug,
    config,
    clean,
    advance,
    platform,
    fault,
    ioctl,
    rare
};
constexpr uint8_t kinds = 16;
static_assert(static_cast<uint8_t>(kind::rare) + 1 == kinds);

enum class rare : uint8_t { proc_read, load, unload };

constexpr std::array messages = {uint8_t{ZR_OMCI_MSG_TYPE_CREAT}, uint8_t{ZR_OMCI_MSG_TYPE_SET},
                                 uint8_t{ZR_OMCI_MSG_TYPE_DELETE}};
constexpr std::array jiffies = {uint64_t{1}, uint64_t{29999}, uint64_t{30000}, uint64_t{90001}};
constexpr uint8_t no_record = 0x80; // flag beside a class: the address of its record is null
constexpr uint8_t whole_mask = 0x40;

class byte_sink {
public:
    byte_sink& u8(uint64_t value)
    {
        bytes_.push_back(static_cast<uint8_t>(value));
        return *this;
    }
    byte_sink& u16(uint64_t value) { return u8(value).u8(value >> 8); }
    byte_sink& u32(uint64_t value) { return u16(value).u16(value >> 16); }
    byte_sink& add(const uint8_t* from, size_t count)
    {
        bytes_.insert(bytes_.end(), from, from + count);
        return *this;
    }
    byte_sink& text(const std::string& text, size_t longest)
    {
        const size_t count = std::min(text.size(), longest);
        return u8(count).add(reinterpret_cast<const uint8_t*>(text.data()), count);
    }
    bytes done() { return std::move(bytes_); }

private:
    bytes bytes_;
};

byte_sink begin(kind step_kind)
{
    return std::move(byte_sink().u8(static_cast<uint8_t>(step_kind)));
}

me_command take_me(byte_source& from)
{
    me_command me;
    const uint8_t message = from.u8();
    me.message = message < messages.size() ? messages[message] : message;
    const uint8_t row = from.u8();
    const uint8_t index = row % GPON_ME_ROWS;
    me.class_id = index ? me_table[index].class_id : gpon::to_me_class(from.u16());
    me.instance = from.u16();
    me.mask = row & whole_mask ? 0xffff : from.u16();
    if (!(row & no_record))
        me.raw = from.exactly(index ? static_cast<size_t>(me_table[index].list_info->raw_size) : 0);
    return me;
}

uint8_t row_of(me_class class_id)
{
    for (uint8_t row = 1; row < GPON_ME_ROWS; ++row)
        if (me_table[row].class_id == class_id)
            return row;
    return 0;
}

bytes bytes_of_command(const me_command& me)
{
    byte_sink to = begin(kind::me);
    uint8_t message = me.message;
    for (uint8_t i = 0; i < messages.size(); ++i)
        if (messages[i] == me.message)
            message = i;
    const uint8_t row = row_of(me.class_id);
    const bool whole = me.mask == 0xffff;
    to.u8(message).u8(row | (me.raw ? 0 : no_record) | (whole ? whole_mask : 0));
    if (!row)
        to.u16(gpon::class_number(me.class_id));
    to.u16(me.instance);
    if (!whole)
        to.u16(me.mask);
    if (me.raw && row)
        to.add(me.raw->data(), me.raw->size());
    return to.done();
}

debug_command take_debug(byte_source& from)
{
    debug_command debug;
    for (uint8_t words = from.u8() % (GPON_FLOW_DEBUG_WORDS + 1); words > 0; --words)
        debug.words.push_back(from.text(from.u8() % (GPON_FLOW_DEBUG_WORD_BYTES + 1)));
    return debug;
}

pointer_setting take_setting(byte_source& from)
{
    const uint8_t result = from.u8();
    if (result == 0xff)
        return {};
    return {static_cast<int8_t>(result)};
}

platform_command take_platform(byte_source& from)
{
    platform_command platform;
    const uint8_t which = from.u8();
    if (which & 1)
        platform.mapping = take_setting(from);
    if (which & 2)
        platform.queue = take_setting(from);
    return platform;
}

ioctl_command take_ioctl(byte_source& from)
{
    ioctl_command ioctl;
    const uint8_t shape = from.u8();
    ioctl.number = shape & 1 ? from.u32() : GPON_FLOW_IOC_COMMAND;
    if (shape & 2)
        ioctl.cmd = from.u8();
    return ioctl;
}

any_command take_rare(byte_source& from)
{
    switch (static_cast<rare>(from.u8() % 3)) {
    case rare::load:
        return load_command{};
    case rare::unload:
        return unload_command{};
    case rare::proc_read:
        break;
    }
    return proc_read_command{};
}

std::optional<bytes> encode(const me_command& command)
{
    return bytes_of_command(command);
}

std::optional<bytes> encode(const hook_command& call)
{
    if (!call.frame)
        return begin(kind::hook).u8(call.options.kind).u8(call.options.param).done();
    const bytes packet = bytes_of_packet(call);
    return begin(kind::packet).add(packet.data(), packet.size()).done();
}

std::optional<bytes> encode(const proc_write_command& command)
{
    return begin(kind::proc_write).text(command.text, 255).done();
}

std::optional<bytes> encode(const debug_command& command)
{
    byte_sink to = begin(kind::debug);
    to.u8(command.words.size());
    for (const std::string& word : command.words)
        to.text(word, GPON_FLOW_DEBUG_WORD_BYTES);
    return to.done();
}

std::optional<bytes> encode(const config_command& command)
{
    byte_sink to = begin(kind::config);
    to.u8(command.raw ? 0 : 1);
    if (command.raw)
        to.add(command.raw->data(), command.raw->size());
    return to.done();
}

std::optional<bytes> encode(const clean_command&)
{
    return begin(kind::clean).done();
}

std::optional<bytes> encode(const advance_command& command)
{
    for (uint8_t i = 0; i < jiffies.size(); ++i)
        if (command.jiffies <= jiffies[i])
            return begin(kind::advance).u8(i).done();
    return begin(kind::advance).u8(jiffies.size() - 1).done();
}

std::optional<bytes> encode(const platform_command& command)
{
    byte_sink to = begin(kind::platform);
    to.u8((command.mapping ? 1 : 0) | (command.queue ? 2 : 0));
    for (const auto& setting : {command.mapping, command.queue})
        if (setting)
            to.u8(setting->result ? static_cast<uint64_t>(*setting->result) : 0xff);
    return to.done();
}

std::optional<bytes> encode(const fault_command& command)
{
    return begin(kind::fault).u8(static_cast<uint8_t>(command.service)).u8(command.nth - 1).done();
}

std::optional<bytes> encode(const ioctl_command& command)
{
    byte_sink to = begin(kind::ioctl);
    to.u8(command.cmd ? 3 : 1).u32(command.number);
    if (command.cmd)
        to.u8(*command.cmd);
    return to.done();
}

bytes rare_step(rare form)
{
    return begin(kind::rare).u8(static_cast<uint8_t>(form)).done();
}
std::optional<bytes> encode(const proc_read_command&)
{
    return rare_step(rare::proc_read);
}
std::optional<bytes> encode(const load_command&)
{
    return rare_step(rare::load);
}
std::optional<bytes> encode(const unload_command&)
{
    return rare_step(rare::unload);
}

template <typename Other> std::optional<bytes> encode(const Other&)
{
    return {};
}

} // namespace

hook_command take_packet(byte_source& from)
{
    hook_command hook;
    hook.options.kind = from.u8() % 6;
    const uint8_t port = from.u8();
    hook.options.port_word = static_cast<uint32_t>(port) << 4;
    hook.options.mark_word = from.u8();
    hook.options.gem = from.u16();
    hook.options.multicast = from.u8() % 3;
    const uint8_t flags = from.u8();
    hook.options.flags = (flags & 0xfu) | (flags & 0x80u) << 13; // the trace mark among them
    hook.options.param = from.u8();
    const uint8_t length = from.u8();
    hook.frame = from.some(length);
    return hook;
}

bytes bytes_of_packet(const hook_command& call)
{
    const packet_options& options = call.options;
    byte_sink to;
    to.u8(options.kind).u8(options.port_word >> 4).u8(options.mark_word).u16(options.gem);
    to.u8(options.multicast).u8((options.flags & 0xf) | (options.flags >> 13 & 0x80));
    to.u8(options.param);
    const size_t count = call.frame ? std::min<size_t>(call.frame->size(), 255) : 0;
    to.u8(count);
    if (count)
        to.add(call.frame->data(), count);
    return to.done();
}

any_command take_step(byte_source& from)
{
    switch (static_cast<kind>(from.u8() % kinds)) {
    case kind::me:
    case kind::me2:
    case kind::me3:
    case kind::me4:
        return take_me(from);
    case kind::packet:
    case kind::packet2:
        return take_packet(from);
    case kind::hook: {
        hook_command hook;
        hook.options.kind = from.u8();
        hook.options.param = from.u8();
        return hook;
    }
    case kind::proc_write: {
        const uint8_t length = from.u8();
        return proc_write_command{from.text(length)};
    }
    case kind::debug:
        return take_debug(from);
    case kind::config:
        if (from.u8() == 1)
            return config_command{};
        return config_command{from.exactly(sizeof(gpon_flow_cfg_data))};
    case kind::clean:
        return clean_command{};
    case kind::advance:
        return advance_command{jiffies[from.u8() % jiffies.size()]};
    case kind::platform:
        return take_platform(from);
    case kind::fault: {
        const auto service = static_cast<fault_kind>(from.u8() % 6);
        return fault_command{service, uint64_t{1} + from.u8()};
    }
    case kind::ioctl:
        return take_ioctl(from);
    case kind::rare:
        break;
    }
    return take_rare(from);
}

std::optional<bytes> bytes_of(const any_command& step)
{
    return std::visit([](const auto& command) { return encode(command); }, step);
}

} // namespace gponflow::fuzz
