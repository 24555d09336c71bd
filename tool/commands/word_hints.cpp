// SPDX-License-Identifier: GPL-2.0-only
#include "tool/commands/word_hints.h"

#include <algorithm>

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

std::string nearest(const std::string& word, const std::vector<std::string>& known)
{
    if (std::ranges::find(known, word) != known.end())
        return {};
    return suggestion(word, {known.begin(), known.end()});
}

} // namespace

std::string word_hint(const CLI::App& app, const std::vector<std::string>& words)
{
    const CLI::App* at = &app;
    for (const std::string& word : words) {
        if (word == "--")
            return {};
        if (word.starts_with('-')) {
            if (std::string hint = nearest(word.substr(0, word.find('=')), names_of_options(*at));
                !hint.empty())
                return hint;
        } else if (const CLI::App* next = subcommand_of(*at, word)) {
            at = next;
        } else if (at->get_require_subcommand_min() > 0) {
            return nearest(word, names_of_subcommands(*at));
        }
    }
    return {};
}

std::string unknown_subcommand(const CLI::App& app, const std::vector<std::string>& words)
{
    const CLI::App* at = &app;
    for (const std::string& word : words) {
        if (word.starts_with('-'))
            continue;
        if (at->get_require_subcommand_min() == 0)
            return {};
        const CLI::App* next = subcommand_of(*at, word);
        if (next == nullptr)
            return "unknown subcommand " + in_quotes(word) +
                   nearest(word, names_of_subcommands(*at));
        at = next;
    }
    return {};
}

} // namespace gponflow
