// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/frame_choice.h"

#include <stdexcept>

#include "tool/scenario/captures.h"
#include "tool/scenario/parse.h"

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
    return {hook->options, hook->frame.value_or(bytes{})};
}

} // namespace

std::optional<explained_frame> choose_frame(const frame_choice& from)
{
    if (from.words.empty() && from.capture.empty())
        return {};
    explained_frame result = frame_of_words(from.words, from.capture);
    if (from.capture.empty())
        return result;
    const std::vector<bytes> frames = [&] {
        try {
            // The rest of the capture may be long, or truncated.
            return read_capture(from.capture, from.number);
        } catch (const std::runtime_error& why) {
            throw std::runtime_error(from.capture + ": " + why.what());
        }
    }();
    if (from.number == 0 || from.number > frames.size())
        throw std::runtime_error(from.capture + ": no frame " + std::to_string(from.number) +
                                 ", it has " + std::to_string(frames.size()));
    result.frame = frames[from.number - 1];
    return result;
}

} // namespace gponflow
