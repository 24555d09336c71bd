// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/outcome.h"

#include <array>
#include <string_view>

#include "tool/omci/scenario_text.h"

namespace gponflow::omci {

namespace {

constexpr uint8_t success = 0;
constexpr uint8_t attributes_failed = 9;
constexpr size_t failed_set_bytes = 5; // result, optional attribute mask, execution mask

constexpr std::array<std::string_view, 10> result_names = {"success",
                                                           "command processing error",
                                                           "command not supported",
                                                           "parameter error",
                                                           "unknown managed entity",
                                                           "unknown managed entity instance",
                                                           "device busy",
                                                           "instance exists",
                                                           {},
                                                           "attributes failed or unknown"};

outcome judge_partial_set(const exchange& item)
{
    const auto content = item.response->msg.content;
    const auto asked = item.request.msg.content;
    outcome result{false, 0, result_name(attributes_failed), {}};
    if (content.size() < failed_set_bytes || asked.size() < 2)
        return result;
    const uint16_t unsupported = read_u16(content, 1);
    const uint16_t failed = read_u16(content, 3);
    result.refused_mask = unsupported | failed;
    result.done = (read_u16(asked, 0) & ~result.refused_mask) != 0;
    if (result.done && result.refused_mask != 0)
        result.note = "done in part, unsupported attributes " + hex_text(unsupported, 4) +
                      ", failed attributes " + hex_text(failed, 4);
    return result;
}

} // namespace

std::string result_name(uint8_t code)
{
    if (code < result_names.size() && !result_names[code].empty())
        return std::string(result_names[code]);
    return "result " + std::to_string(code);
}

outcome judge(const exchange& item)
{
    if (!item.response) {
        const bool asked = item.request.msg.acknowledge_requested;
        return {true, 0, {}, asked ? "no response captured, assumed done" : ""};
    }
    const auto code = result_code(item.response->msg);
    if (!code)
        return {false, 0, "the response has no result code", {}};
    if (*code == attributes_failed && item.request.msg.type == set)
        return judge_partial_set(item);
    if (*code != success)
        return {false, 0, result_name(*code), {}};
    const uint16_t named = item.response->msg.instance;
    if (named != item.request.msg.instance)
        return {true, 0, {}, "the response names instance " + hex_text(named, 4)};
    return {true, 0, {}, {}};
}

} // namespace gponflow::omci
