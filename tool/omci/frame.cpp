// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/frame.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "tool/omci/crc32.h"

namespace gponflow::omci {

namespace {

constexpr size_t header_bytes = 8;
constexpr uint8_t baseline_device = 0x0a;
constexpr uint8_t extended_device = 0x0b;
constexpr size_t baseline_sdu_bytes = 40;
constexpr size_t baseline_without_crc = 44;
constexpr size_t crc_bytes = 4;
constexpr size_t extended_header_bytes = 10;
constexpr size_t extended_content_limit = 1980 - extended_header_bytes - crc_bytes;

constexpr std::array<std::string_view, 32> type_names = {"",
                                                         "",
                                                         "",
                                                         "",
                                                         "create",
                                                         "",
                                                         "delete",
                                                         "",
                                                         "set",
                                                         "get",
                                                         "",
                                                         "get all alarms",
                                                         "get all alarms next",
                                                         "MIB upload",
                                                         "MIB upload next",
                                                         "MIB reset",
                                                         "alarm",
                                                         "attribute value change",
                                                         "test",
                                                         "start software download",
                                                         "download section",
                                                         "end software download",
                                                         "activate software",
                                                         "commit software",
                                                         "synchronize time",
                                                         "reboot",
                                                         "get next",
                                                         "test result",
                                                         "get current data",
                                                         "set table",
                                                         "",
                                                         ""};

template <typename... values> std::string text(const char* format, values... args)
{
    std::array<char, 160> line;
    std::snprintf(line.data(), line.size(), format, args...);
    return line.data();
}

decoded bad(std::string fault)
{
    return {std::nullopt, std::move(fault)};
}

// The bytes after the part that the CRC covers: nothing, padding, or the CRC and padding.
std::string check_crc(std::span<const uint8_t> covered, std::span<const uint8_t> rest)
{
    if (all_zero(rest))
        return {};
    if (rest.size() < crc_bytes)
        return text("%zu bytes: the CRC is cut short", covered.size() + rest.size());
    const uint32_t found = read_u32(rest, 0);
    const uint32_t computed = crc32_aal5(covered);
    if (found == computed)
        return {};
    return text("trailer CRC 0x%08x, computed 0x%08x", found, computed);
}

message decode_header(std::span<const uint8_t> bytes)
{
    message msg;
    msg.transaction = read_u16(bytes, 0);
    msg.acknowledge_requested = (bytes[2] & 0x40) != 0;
    msg.acknowledgement = (bytes[2] & 0x20) != 0;
    msg.type = bytes[2] & 0x1f;
    msg.extended = bytes[3] == extended_device;
    msg.class_id = gpon::to_me_class(read_u16(bytes, 4));
    msg.instance = read_u16(bytes, 6);
    return msg;
}

decoded decode_baseline(std::span<const uint8_t> bytes)
{
    if (bytes.size() < baseline_without_crc)
        return bad(
            text("%zu bytes, a baseline message has 48, or 44 without its CRC", bytes.size()));
    const uint16_t sdu_length = read_u16(bytes, 42);
    if (sdu_length != baseline_sdu_bytes)
        return bad(
            text("trailer has a length of %u bytes, a baseline message 40", unsigned{sdu_length}));
    std::string fault =
        check_crc(bytes.first(baseline_without_crc), bytes.subspan(baseline_without_crc));
    if (!fault.empty())
        return bad(std::move(fault));
    message msg = decode_header(bytes);
    msg.content = bytes.subspan(header_bytes, baseline_sdu_bytes - header_bytes);
    return {msg, {}};
}

decoded decode_extended(std::span<const uint8_t> bytes)
{
    if (bytes.size() < extended_header_bytes)
        return bad(text("%zu bytes, an extended message has 10 and its contents", bytes.size()));
    const size_t length = read_u16(bytes, header_bytes);
    if (length > extended_content_limit)
        return bad(text("contents of %zu bytes, an extended message has at most %zu", length,
                        extended_content_limit));
    const size_t end = extended_header_bytes + length;
    if (bytes.size() < end)
        return bad(text("%zu bytes, the length of the extended message is %zu", bytes.size(), end));
    std::string fault = check_crc(bytes.first(end), bytes.subspan(end));
    if (!fault.empty())
        return bad(std::move(fault));
    message msg = decode_header(bytes);
    msg.content = bytes.subspan(extended_header_bytes, length);
    return {msg, {}};
}

} // namespace

bool all_zero(std::span<const uint8_t> bytes)
{
    return std::ranges::all_of(bytes, [](uint8_t byte) { return byte == 0; });
}

uint16_t read_u16(std::span<const uint8_t> bytes, size_t at)
{
    return static_cast<uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

uint32_t read_u32(std::span<const uint8_t> bytes, size_t at)
{
    return static_cast<uint32_t>(read_u16(bytes, at)) << 16 | read_u16(bytes, at + 2);
}

decoded decode_message(std::span<const uint8_t> bytes)
{
    if (bytes.size() < header_bytes)
        return bad(text("%zu bytes are too few for an OMCI header", bytes.size()));
    switch (bytes[3]) {
    case baseline_device:
        return decode_baseline(bytes);
    case extended_device:
        return decode_extended(bytes);
    default:
        return bad(text("device identifier 0x%02x is neither baseline (0x0a) nor extended (0x0b)",
                        unsigned{bytes[3]}));
    }
}

bool is_notification(const message& msg)
{
    constexpr uint8_t alarm = 16;
    constexpr uint8_t attribute_value_change = 17;
    constexpr uint8_t test_result = 27;
    return !msg.acknowledgement &&
           (msg.type == alarm || msg.type == attribute_value_change || msg.type == test_result);
}

std::string type_name(uint8_t type)
{
    if (type < type_names.size() && !type_names[type].empty())
        return std::string(type_names[type]);
    return text("type %u", unsigned{type});
}

} // namespace gponflow::omci
