// SPDX-License-Identifier: GPL-2.0-only
#include "tool/commands/arguments.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "include/tci.h"
#include "tool/model/class_records.h"
#include "tool/scenario/values.h"
#include "tool/text/message_words.h"

namespace gponflow {

namespace {

// Uses the readers of the scenario language, so that both accept the same words.
template <typename reader>
auto from_word(const std::string& name, const std::string& word, reader read)
{
    try {
        return read(value{name, word, 0});
    } catch (const syntax_error& error) {
        throw CLI::ValidationError(error.message);
    }
}

} // namespace

uint64_t read_number(const std::string& name, const std::string& word, uint64_t most,
                     uint64_t least)
{
    return from_word(name, word,
                     [&](const value& from) { return read_unsigned(from, most, least); });
}

me_class read_class(const std::string& word)
{
    if (looks_like_number(word)) {
        const auto number = static_cast<uint16_t>(read_number("class", word, UINT16_MAX));
        const me_class id = gpon::to_me_class(number);
        if (find_me_class(id))
            return id;
        throw CLI::ValidationError("class " + in_quotes(word) + ": not supported by the module");
    }
    if (const class_record* found = find_me_class(word))
        return found->id;
    std::vector<std::string_view> names;
    for (const class_record& one : me_classes())
        names.push_back(one.name);
    throw CLI::ValidationError("unknown class " + in_quotes(word) +
                               suggestion_or_list(word, names));
}

uint16_t read_instance(const std::string& word)
{
    return static_cast<uint16_t>(read_number("instance", word, UINT16_MAX));
}

CLI::Option* add_number(CLI::App& app, const std::string& name,
                        const std::function<void(uint64_t)>& take, uint64_t most, uint64_t least,
                        const std::string& description)
{
    return app
        .add_option_function<std::string>(
            name, [=](const std::string& word) { take(read_number(name, word, most, least)); },
            description)
        ->type_name("NUMBER");
}

CLI::Option* add_onu_option(CLI::App& app, std::string& into)
{
    return app
        .add_option("--onu", into, "Address of the ONU, if a capture has OMCI messages of several")
        ->type_name("MAC");
}

vlan_word read_vlan(const std::string& name, const std::string& word)
{
    const size_t mark = word.find('p');
    vlan_word result;
    result.vlan =
        static_cast<uint16_t>(read_number(name, word.substr(0, mark), gpon::VLAN_IDS - 1));
    if (mark != word.npos)
        result.priority = static_cast<uint8_t>(
            read_number(name + ", the priority", word.substr(mark + 1), gpon::PRIORITIES - 1));
    return result;
}

} // namespace gponflow
