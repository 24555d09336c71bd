// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/packets.h"

#include <algorithm>
#include <iterator>

#include "platform/api/platform_hook.h"
#include "tool/scenario/values.h"
#include "tool/text/message_words.h"

namespace gponflow {

namespace {

struct kind_name {
    std::string_view name;
    uint32_t kind;
};

constexpr kind_name kind_names[] = {
    {"up_uni", GPON_API_UP_UNI},     {"up_ani", GPON_API_UP_ANI}, {"down_uni", GPON_API_DOWN_UNI},
    {"down_ani", GPON_API_DOWN_ANI}, {"switch", GPON_API_SWITCH},
};

uint32_t read_kind(const value& from)
{
    if (looks_like_number(from.text))
        return read_field<uint32_t>(from);
    const auto* found = std::ranges::find(kind_names, from.text, &kind_name::name);
    if (found != std::end(kind_names))
        return found->kind;
    std::vector<std::string_view> known;
    std::ranges::transform(kind_names, std::back_inserter(known), &kind_name::name);
    from.fail("not a kind of hook call (up_uni, up_ani, down_ani, down_uni, switch, or a number)" +
              suggestion(from.text, known));
}

// The options of both commands. port is applied after port_word, in any order of the line.
class packet_option_reader {
public:
    std::vector<option_rule> rules()
    {
        packet_options& o = options_;
        return {
            {"kind", [this](const value& v) { kind_ = read_kind(v); }},
            {"param", [&o](const value& v) { o.param = read_field<uint32_t>(v); }},
            {"port", [this](const value& v) { port_ = read_unsigned(v, 15); }},
            {"port_word", [&o](const value& v) { o.port_word = read_field<uint32_t>(v); }},
            {"mark_word", [&o](const value& v) { o.mark_word = read_field<uint32_t>(v); }},
            {"gem", [&o](const value& v) { o.gem = read_field<uint16_t>(v); }},
            {"mcast", [&o](const value& v) { o.multicast = read_field<uint16_t>(v); }},
            {"flags", [&o](const value& v) { o.flags = read_field<uint32_t>(v); }},
        };
    }

    packet_options finish()
    {
        if (!kind_)
            throw syntax_error{0, "missing option: kind=up_uni|up_ani|down_ani|down_uni"};
        options_.kind = *kind_;
        if (port_)
            options_.port_word = (options_.port_word & ~0xf0u) | static_cast<uint32_t>(*port_ << 4);
        return options_;
    }

private:
    packet_options options_;
    std::optional<uint32_t> kind_;
    std::optional<uint64_t> port_;
};

} // namespace

any_command parse_hook(std::span<const word> words)
{
    hook_command result;
    packet_option_reader reader;
    std::vector<option_rule> rules = reader.rules();
    rules.push_back({"frame", [&](const value& v) { result.frame = read_hex(v); }});
    take_options(words, "hook", rules);
    result.options = reader.finish();
    return result;
}

any_command parse_pcap(std::span<const word> words)
{
    if (words.empty() || words[0].text.empty())
        throw syntax_error{0, "missing argument: the capture file"};
    pcap_command result;
    result.file = words[0].text;
    packet_option_reader reader;
    take_options(words.subspan(1), "pcap", reader.rules());
    result.options = reader.finish();
    return result;
}

} // namespace gponflow
