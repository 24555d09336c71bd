// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/frame_choice.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "tool/scenario/captures.h"
#include "tool/scenario/parse.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

explained_frame frame_of_words(const std::vector<std::string>& words, const std::string& capture)
{
    std::string line = "hook";
    for (const std::string& one : words)
        line += " " + one;
    const parse_result parsed = parse_scenario(line, "frame options");
    if (!parsed.errors.empty())
        throw std::runtime_error("the frame: " + parsed.errors.front().message);
    const auto* hook = parsed.input.lines.empty()
                           ? nullptr
                           : std::get_if<hook_command>(&parsed.input.lines.front().command);
    if (!hook)
        throw std::runtime_error("the frame: not the options of a hook command");
    if (hook->frame && !capture.empty())
        throw std::runtime_error("the frame: frame=HEX and --pcap cannot be used together");
    if (!hook->frame && capture.empty())
        throw std::runtime_error("the frame: missing option: frame=HEX, or --pcap FILE");
    return {hook->options, captured_frame(hook->frame.value_or(bytes{}))};
}

} // namespace

captured_frame numbered_frame(const std::string& file, size_t number)
{
    ethernet_capture capture;
    try {
        // The rest of the capture may be long, or damaged.
        capture = read_capture(file, number);
    } catch (const std::runtime_error& why) {
        throw std::runtime_error(capture_title(file) + ": " + why.what());
    }
    const auto found = std::ranges::find(capture.frames, number, &captured_frame::number);
    if (found != capture.frames.end())
        return std::move(*found);
    std::string why = capture_title(file) + ": no frame " + std::to_string(number) + ", it has " +
                      counted(capture.frames.size(), "frame");
    for (const std::string& warning : capture.warnings)
        why += "; " + warning;
    throw std::runtime_error(why);
}

std::optional<explained_frame> choose_frame(const frame_choice& from)
{
    if (from.words.empty() && from.capture.empty())
        return {};
    explained_frame result = frame_of_words(from.words, from.capture);
    if (from.capture.empty())
        return result;
    result.frame = numbered_frame(from.capture, from.number);
    return result;
}

} // namespace gponflow
