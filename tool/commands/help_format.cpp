// SPDX-License-Identifier: GPL-2.0-only
#include "tool/commands/help_format.h"

#include <algorithm>
#include <regex>
#include <set>

namespace gponflow {

namespace {

std::string joined_words(const std::vector<std::string>& words, const char* between)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : between) + word;
    return text;
}

// The library orders them by address.
std::vector<std::string> sorted_names(const std::set<CLI::Option*>& options)
{
    std::vector<std::string> names;
    for (const CLI::Option* option : options)
        names.push_back(option->get_name());
    std::ranges::sort(names);
    return names;
}

bool names_all(const std::string& text, const std::vector<std::string>& words)
{
    return std::ranges::all_of(words, [&](const std::string& word) {
        return std::regex_search(text, std::regex("\\b" + word + "\\b"));
    });
}

std::string sentences_of(const CLI::Option& option)
{
    std::string text;
    const std::vector<std::string> words = accepted_words(option);
    if (option.get_positional() && !names_all(option.get_description(), words))
        text += " One of " + joined_words(words, ", ") + ".";
    if (!option.get_default_str().empty())
        text += " The default is " + option.get_default_str() + ".";
    if (!option.get_needs().empty())
        text += " Needs " + joined_words(sorted_names(option.get_needs()), " and ") + ".";
    if (!option.get_excludes().empty())
        text +=
            " Not together with " + joined_words(sorted_names(option.get_excludes()), ", ") + ".";
    return text;
}

} // namespace

std::vector<std::string> accepted_words(const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    const size_t start = type.find('{');
    const size_t end = type.find('}');
    if (start == type.npos || end == type.npos)
        return {};
    return CLI::detail::split(type.substr(start + 1, end - start - 1), ',');
}

std::string help_format::make_option_opts(const CLI::Option* option) const
{
    std::string text;
    if (!option->get_positional() && option->get_type_size() != 0) {
        const std::vector<std::string> words = accepted_words(*option);
        text += " " + (words.empty() ? option->get_type_name() : joined_words(words, "|"));
    }
    const bool many = option->get_expected_max() == CLI::detail::expected_max_vector_size;
    return text + (many && option->get_allow_extra_args() ? " ..." : "");
}

std::string help_format::make_option_desc(const CLI::Option* option) const
{
    const std::string sentences = sentences_of(*option);
    const std::string& text = option->get_description();
    return text + (sentences.empty() || text.ends_with('.') ? "" : ".") + sentences;
}

} // namespace gponflow
