// SPDX-License-Identifier: GPL-2.0-only
#include "tests/omci/line_builder.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "tool/omci/crc32.h"

namespace gponflow::omci::test {

namespace {

void put_be16(bytes& to, size_t value)
{
    to.push_back(static_cast<uint8_t>(value >> 8));
    to.push_back(static_cast<uint8_t>(value));
}

void put_le32(bytes& to, size_t value)
{
    for (int shift = 0; shift < 32; shift += 8)
        to.push_back(static_cast<uint8_t>(value >> shift));
}

void append(bytes& to, const bytes& more)
{
    to.insert(to.end(), more.begin(), more.end());
}

bytes header(uint16_t transaction, uint8_t flags, uint8_t type, uint8_t device, uint16_t class_id,
             uint16_t instance)
{
    bytes message;
    put_be16(message, transaction);
    message.push_back(flags | type);
    message.push_back(device);
    put_be16(message, class_id);
    put_be16(message, instance);
    return message;
}

} // namespace

bytes from_hex(std::string_view text)
{
    std::string digits;
    std::ranges::copy_if(text, std::back_inserter(digits), [](char c) { return c != ' '; });
    if (digits.size() % 2 != 0)
        throw std::invalid_argument("odd number of digits: " + digits);
    bytes result;
    for (size_t i = 0; i < digits.size(); i += 2)
        result.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return result;
}

bytes baseline(uint16_t transaction, uint8_t flags, uint8_t type, uint16_t class_id,
               uint16_t instance, std::string_view content)
{
    bytes message = header(transaction, flags, type, 0x0a, class_id, instance);
    append(message, from_hex(content));
    if (message.size() > 40)
        throw std::invalid_argument("more contents than a baseline message holds");
    message.resize(40);
    append(message, from_hex("0000 0028"));
    return message;
}

bytes extended(uint16_t transaction, uint8_t flags, uint8_t type, uint16_t class_id,
               uint16_t instance, std::string_view content)
{
    bytes message = header(transaction, flags, type, 0x0b, class_id, instance);
    const bytes contents = from_hex(content);
    put_be16(message, contents.size());
    append(message, contents);
    return message;
}

bytes with_crc(bytes message)
{
    const uint32_t crc = crc32_aal5(message);
    put_be16(message, crc >> 16);
    put_be16(message, crc & 0xffff);
    return message;
}

bytes ethernet(const mac_address& source, const mac_address& destination, const bytes& payload)
{
    bytes frame(destination.begin(), destination.end());
    frame.insert(frame.end(), source.begin(), source.end());
    put_be16(frame, 0x88b5);
    append(frame, payload);
    return frame;
}

bytes pcap_file(const std::vector<bytes>& frames, uint32_t link_type, size_t cut)
{
    bytes file;
    put_le32(file, 0xa1b2c3d4);
    put_le32(file, 0x00040002); // version 2.4
    put_le32(file, 0);
    put_le32(file, 0);
    put_le32(file, 65535);
    put_le32(file, link_type);
    for (const bytes& frame : frames) {
        const size_t kept = frame.size() - std::min(cut, frame.size());
        put_le32(file, 0);
        put_le32(file, 0);
        put_le32(file, kept);
        put_le32(file, frame.size());
        file.insert(file.end(), frame.begin(), frame.begin() + static_cast<ptrdiff_t>(kept));
    }
    return file;
}

line& line::done(uint8_t type, uint16_t class_id, uint16_t instance, std::string_view content)
{
    return replied(type, class_id, instance, content, "00");
}

line& line::replied(uint8_t type, uint16_t class_id, uint16_t instance, std::string_view content,
                    std::string_view response)
{
    asked(type, class_id, instance, content);
    return from_onu(baseline(transaction, response_bit, type, class_id, instance, response));
}

line& line::asked(uint8_t type, uint16_t class_id, uint16_t instance, std::string_view content)
{
    ++transaction;
    return from_olt(baseline(transaction, request_bit, type, class_id, instance, content));
}

line& line::from_olt(const bytes& message)
{
    frames.push_back(ethernet(olt, onu, message));
    return *this;
}

line& line::from_onu(const bytes& message)
{
    frames.push_back(ethernet(onu, olt, message));
    return *this;
}

capture line::captured() const
{
    capture_result result = read_capture_bytes(pcap_file(frames));
    if (!result.cap)
        throw std::runtime_error(result.error);
    return std::move(*result.cap);
}

conversion line::converted() const
{
    return convert(captured(), "a test");
}

std::vector<std::string> line::commands() const
{
    std::vector<std::string> all = command_lines(converted().scenario);
    const std::vector<std::string> opening = {"load", "hook kind=switch param=1"};
    if (all.size() < opening.size() || !std::equal(opening.begin(), opening.end(), all.begin()))
        throw std::runtime_error("the scenario does not load and switch on first");
    all.erase(all.begin(), all.begin() + static_cast<ptrdiff_t>(opening.size()));
    return all;
}

std::vector<std::string> command_lines(std::string_view scenario)
{
    std::vector<std::string> result;
    std::istringstream input{std::string(scenario)};
    for (std::string text; std::getline(input, text);) {
        if (!text.empty() && text[0] != '#')
            result.push_back(text);
    }
    return result;
}

} // namespace gponflow::omci::test
