// SPDX-License-Identifier: GPL-2.0-only
#include "tool/commands/word_hints.h"

#include <algorithm>
#include <regex>
#include <span>

#include "tool/text/message_words.h"

namespace gponflow {

namespace {

const CLI::App* subcommand_of(const CLI::App& app, const std::string& name)
{
    for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; }))
        if (sub->get_name() == name)
            return sub;
    return nullptr;
}

std::vector<std::string> names_of_options(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
        for (const std::string& name : option->get_snames())
            names.push_back("-" + name);
    }
    return names;
}

std::vector<std::string> names_of_subcommands(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(sub->get_name());
    return names;
}

// The last subcommand of a command line, and the words from the first one that is none.
struct place {
    const CLI::App* at;
    std::span<const std::string> rest;
};

place place_of(const CLI::App& app, std::span<const std::string> words)
{
    const CLI::App* at = &app;
    for (; !words.empty(); words = words.subspan(1)) {
        if (words.front().starts_with('-') && words.front() != "--")
            continue;
        const CLI::App* next = subcommand_of(*at, words.front());
        if (!next)
            break;
        at = next;
    }
    return {at, words};
}

std::string missing_subcommand(const CLI::App& at)
{
    std::string text;
    for (const std::string& name : names_of_subcommands(at))
        text += (text.empty() ? "a subcommand is missing: one of " : ", ") + name;
    return text;
}

std::string unknown_subcommand(const CLI::App& at, const std::string& word)
{
    std::vector<std::string> known = names_of_subcommands(at);
    known.emplace_back("--help");
    return "unknown subcommand " + in_quotes(word) +
           suggestion_or_list(word, {known.begin(), known.end()});
}

// The library's list has the words behind an unknown option too, and its order is not the user's.
std::string unexpected_word(const CLI::App& at, std::span<const std::string> words)
{
    const std::vector<std::string> known = names_of_options(at);
    const std::vector<std::string_view> views(known.begin(), known.end());
    const std::vector<std::string> left = at.remaining();
    for (const std::string& word : words) {
        const std::string name = word.substr(0, word.find('='));
        if (std::ranges::find(left, word) == left.end())
            continue;
        return word.starts_with('-') ? "unknown option " + in_quotes(name) + suggestion(name, views)
                                     : "unexpected argument " + in_quotes(word);
    }
    return {};
}

// "host, device" of "host,device".
std::string with_blanks(const std::string& list)
{
    static const std::regex comma(",");
    return std::regex_replace(list, comma, ", ");
}

// Messages of the library, and the words that this tool uses.
std::string in_our_words(const std::string& text)
{
    static const std::pair<std::regex, const char*> rows[] = {
        {std::regex("^(\\S+) is required$"), "$1 is missing"},
        {std::regex("^(\\S+): 1 required (\\S+) missing$"), "$1 needs a value ($2)"},
        {std::regex("^(\\S+): At least (\\d+) required but received (\\d+)$"),
         "$1 needs $2 values, not $3"},
        {std::regex("^(\\S+): At Most 1 required but received (\\d+)$"),
         "$1 takes one value, not $2"},
        {std::regex("^(\\S+) was given a disallowed flag override$"), "--$1 takes no value"},
        {std::regex("^(\\S+) requires (.+)$"), "$1 needs $2"},
        {std::regex("^(\\S+) excludes (.+)$"), "$1 and $2 exclude each other"},
    };
    static const std::regex listed("^(\\S+): (.*) not in \\{(.*)\\}$");
    if (std::smatch found; std::regex_match(text, found, listed))
        return found.str(1) + " " + in_quotes(found.str(2)) + ": not one of " +
               with_blanks(found.str(3));
    for (const auto& [pattern, words] : rows)
        if (std::regex_match(text, pattern))
            return std::regex_replace(text, pattern, words);
    return text;
}

} // namespace

std::string message_of(const CLI::App& app, const std::vector<std::string>& words,
                       const CLI::ParseError& error)
{
    const auto [at, rest] = place_of(app, words);
    std::string text;
    if (at->get_require_subcommand_min() > 0)
        text = rest.empty() ? missing_subcommand(*at) : unknown_subcommand(*at, rest.front());
    if (dynamic_cast<const CLI::ExtrasError*>(&error) && (text.empty() || rest.empty()))
        if (std::string word = unexpected_word(*at, words); !word.empty())
            return word;
    return text.empty() ? in_our_words(error.what()) : text;
}

void refuse_values_of_flags(CLI::App& app)
{
    for (CLI::Option* option : app.get_options())
        if (option->get_items_expected_max() == 0)
            option->disable_flag_override();
    for (CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; }))
        refuse_values_of_flags(*sub);
}

} // namespace gponflow
