// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/parse.h"

#include <algorithm>
#include <iterator>

#include "include/uapi/gpon_flow.h"
#include "tool/check/rules.h"
#include "tool/scenario/packets.h"
#include "tool/scenario/records.h"
#include "tool/scenario/tagging_words.h"
#include "tool/scenario/values.h"
#include "tool/scenario/words.h"
#include "tool/text/message_words.h"

namespace gponflow {

namespace {

using words_of_command = std::span<const word>;

// The aging timer fires throughout: this many jiffies take the module in a process about 20
// seconds, the whole range of the number would take years.
constexpr uint64_t longest_advance = uint64_t{1} << 40;

void expect_no_more(words_of_command words)
{
    if (!words.empty())
        throw syntax_error{words[0].column, "unexpected word " + in_quotes(words[0].text)};
}

const word& only_word(words_of_command words, const std::string& description)
{
    if (words.empty())
        throw syntax_error{0, "missing argument: " + description};
    expect_no_more(words.subspan(1));
    return words[0];
}

template <typename plain> any_command parse_plain(words_of_command words)
{
    expect_no_more(words);
    return plain{};
}

any_command parse_debug(words_of_command words)
{
    debug_command result;
    for (const word& from : words) {
        if (result.words.size() == GPON_FLOW_DEBUG_WORDS)
            throw syntax_error{from.column, "debug takes at most four words"};
        if (from.text.size() > GPON_FLOW_DEBUG_WORD_BYTES)
            throw syntax_error{from.column, "a debug word holds at most 32 bytes"};
        result.words.push_back(from.text);
    }
    return result;
}

any_command parse_ioctl(words_of_command words)
{
    if (words.empty())
        throw syntax_error{0, "missing argument: the ioctl number"};
    ioctl_command result;
    result.number = read_field<uint32_t>({"ioctl number", words[0].text, words[0].column});
    const option_rule rules[] = {
        {"cmd", [&](const value& from) { result.cmd = read_field<uint32_t>(from); }},
    };
    take_options(words.subspan(1), "ioctl", rules);
    return result;
}

any_command parse_proc(words_of_command words)
{
    const std::string_view action = words.empty() ? std::string_view() : words[0].text;
    if (action == "read") {
        expect_no_more(words.subspan(1));
        return proc_read_command{};
    }
    if (action == "write")
        return proc_write_command{
            only_word(words.subspan(1), "the text to write, one word (quote it)").text};
    if (words.empty())
        throw syntax_error{0, "missing argument: 'read' or 'write'"};
    throw syntax_error{words[0].column, "proc takes 'read' or 'write', not " + in_quotes(action) +
                                            suggestion(action, {"read", "write"})};
}

any_command parse_advance(words_of_command words)
{
    const word& count = only_word(words, "the number of jiffies");
    return advance_command{read_unsigned({"advance", count.text, count.column}, longest_advance)};
}

pointer_setting read_pointer_setting(const value& from)
{
    if (from.text == "none")
        return {};
    return {static_cast<int32_t>(read_signed(from, INT32_MIN, INT32_MAX))};
}

any_command parse_platform(words_of_command words)
{
    if (words.empty())
        throw syntax_error{0, "missing argument: mapping=none|RET or queue=none|RET"};
    platform_command result;
    const option_rule rules[] = {
        {"mapping", [&](const value& from) { result.mapping = read_pointer_setting(from); }},
        {"queue", [&](const value& from) { result.queue = read_pointer_setting(from); }},
    };
    take_options(words, "platform", rules);
    return result;
}

struct fault_name {
    std::string_view name;
    fault_kind service;
    bool counted;
};

constexpr fault_name fault_names[] = {
    {"chrdev", fault_kind::chrdev, false},
    {"proc_dir", fault_kind::proc_dir, false},
    {"proc_entry", fault_kind::proc_entry, false},
    {"hook", fault_kind::hook, false},
    {"alloc", fault_kind::alloc, true},
    {"copy", fault_kind::copy, true},
};

any_command parse_fault(words_of_command words)
{
    const word& from = only_word(words, "the platform service that is to fail");
    const std::string_view text = from.text;
    const size_t equals = std::min(text.find('='), text.size());
    const std::string_view name = text.substr(0, equals);
    const auto* found = std::ranges::find(fault_names, name, &fault_name::name);
    if (found == std::end(fault_names)) {
        std::vector<std::string_view> known;
        std::ranges::transform(fault_names, std::back_inserter(known), &fault_name::name);
        throw syntax_error{from.column,
                           "unknown fault " + in_quotes(name) + suggestion(name, known)};
    }
    if (equals == text.size())
        return fault_command{found->service, 1};
    if (!found->counted)
        throw syntax_error{from.column + equals, "only 'alloc' and 'copy' take a number"};
    const value nth{found->name, text.substr(equals + 1), from.column + equals + 1};
    return fault_command{found->service, read_unsigned(nth, UINT64_MAX, 1)};
}

expectation read_expectation(const value& from)
{
    expectation result{std::string(from.name), {}, std::string(from.text)};
    if (from.text != "absent")
        result.value = read_signed(from, INT64_MIN, INT64_MAX);
    return result;
}

any_command parse_expect(words_of_command words)
{
    if (words.empty())
        throw syntax_error{0, "missing argument: NAME=VALUE"};
    expect_command result;
    const auto take = [&](const value& from) { result.all.push_back(read_expectation(from)); };
    const option_rule rules[] = {{"ret", take},   {"api_result", take}, {"gem", take},
                                 {"flags", take}, {"frames", take},     {"ok", take},
                                 {"failed", take}};
    take_options(words, "expect", rules);
    return result;
}

any_command parse_echo(words_of_command words)
{
    if (words.empty())
        throw syntax_error{0, "missing argument: the text"};
    echo_command result{words[0].text};
    for (const word& more : words.subspan(1))
        result.text += " " + more.text;
    return result;
}

any_command parse_silence(words_of_command words)
{
    if (words.empty())
        throw syntax_error{0, "missing argument: the rule of 'check'"};
    if (words.size() > 3)
        throw syntax_error{words[3].column, "unexpected word " + in_quotes(words[3].text)};
    if (!find_rule(words[0].text))
        throw syntax_error{words[0].column, "unknown rule " + in_quotes(words[0].text) +
                                                suggestion(words[0].text, rule_names())};
    silence parsed{words[0].text, {}, {}};
    if (words.size() > 1)
        parsed.class_id = read_class({"class", words[1].text, words[1].column});
    if (words.size() > 2)
        parsed.instance = read_field<uint16_t>({"instance id", words[2].text, words[2].column});
    return silence_command{parsed};
}

struct command_row {
    std::string_view name;
    any_command (*parse)(words_of_command words);
};

constexpr command_row command_rows[] = {
    {"load", parse_plain<load_command>},
    {"unload", parse_plain<unload_command>},
    {"hook", parse_hook},
    {"me", parse_me},
    {"config", parse_config},
    {"debug", parse_debug},
    {"clean", parse_plain<clean_command>},
    {"ioctl", parse_ioctl},
    {"proc", parse_proc},
    {"advance", parse_advance},
    {"platform", parse_platform},
    {"fault", parse_fault},
    {"pcap", parse_pcap},
    {"expect", parse_expect},
    {"echo", parse_echo},
    {"silence", parse_silence},
    {"tagging", parse_tagging},
};

any_command parse_line(std::string_view line)
{
    const std::vector<word> words = split_words(line);
    const std::string_view name = words[0].text;
    const auto* row = std::ranges::find(command_rows, name, &command_row::name);
    if (row == std::end(command_rows))
        throw syntax_error{words[0].column, "unknown command " + in_quotes(name) +
                                                suggestion(name, command_names())};
    return row->parse(std::span(words).subspan(1));
}

void add_line(parse_result& result, std::string_view line, unsigned number)
{
    const std::string_view text = trimmed(line);
    if (text.empty() || text[0] == '#')
        return;
    // Columns count in the original line, without the carriage return of a DOS file.
    const std::string_view to_the_end = line.substr(0, line.find_last_not_of(" \t\r") + 1);
    try {
        result.input.lines.push_back({number, std::string(text), parse_line(to_the_end)});
    } catch (const syntax_error& error) {
        result.errors.push_back({result.input.name, number, error.column, error.message});
    }
}

} // namespace

std::vector<std::string_view> command_names()
{
    std::vector<std::string_view> names;
    std::ranges::transform(command_rows, std::back_inserter(names), &command_row::name);
    return names;
}

parse_result parse_scenario(std::string_view text, std::string_view name)
{
    parse_result result;
    result.input.name = name;
    for (unsigned number = 1; !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        add_line(result, text.substr(0, end), number);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return result;
}

} // namespace gponflow
