// SPDX-License-Identifier: GPL-2.0-only
// gponflow completion: a bash completion script, generated from the subcommands themselves.
#include <iostream>
#include <string>
#include <vector>

#include "tool/commands/commands.h"
#include "tool/live/operator_lines.h"
#include "tool/model/class_records.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

const auto any = [](const CLI::App*) { return true; };

std::string class_names()
{
    std::string names;
    for (const class_record& one : me_classes())
        names += std::string(one.name) + " ";
    return names;
}

std::string in_line(const std::vector<std::string_view>& names, const char* behind = " ")
{
    std::string line;
    for (const std::string_view name : names)
        line += std::string(name) + behind;
    return line;
}

// The accepted words of a type text: "on off " of "TEXT:{on,off}".
std::string listed_words(const std::string& type)
{
    const size_t start = type.find('{');
    const size_t end = type.find('}');
    if (start == type.npos || end == type.npos)
        return {};
    std::string words = type.substr(start + 1, end - start - 1);
    for (char& letter : words)
        letter = letter == ',' ? ' ' : letter;
    return words + " ";
}

// Known values of an argument; none for a file or a number.
std::string values_of(const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    const std::string name = option.get_name(true);
    if (type == "CLASS" || name == "CLASS")
        return class_names();
    if (name == "LEVEL")
        return in_line(debug_level_names());
    if (name == "FILTER")
        return in_line(trace_filter_names(), "= ") + "off ";
    return listed_words(type);
}

// Subcommands, options and listed arguments of one level.
std::string words_of(const CLI::App& app)
{
    std::string words;
    for (const CLI::App* sub : app.get_subcommands(any))
        words += sub->get_name() + " ";
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames())
            words += "--" + name + " ";
        if (option->get_positional())
            words += values_of(*option);
    }
    return words;
}

void print_level(const CLI::App& app, const std::string& path)
{
    std::cout << "    '" << path << "') words='" << words_of(app) << "' ;;\n";
    for (const CLI::App* sub : app.get_subcommands(any))
        print_level(*sub, path + " " + sub->get_name());
}

// Options that take a value. An option for a file or a number has no words.
void print_values(const CLI::App& app, const std::string& path)
{
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_items_expected_max() == 0)
            continue;
        for (const std::string& name : option->get_lnames())
            std::cout << "    '" << path << " --" << name << "') values='" << values_of(*option)
                      << "' ;;\n";
        for (const std::string& name : option->get_snames())
            std::cout << "    '" << path << " -" << name << "') values='" << values_of(*option)
                      << "' ;;\n";
    }
    for (const CLI::App* sub : app.get_subcommands(any))
        print_values(*sub, path + " " + sub->get_name());
}

// The subcommand names before the cursor form the path of the level. Bash treats the sign in
// --name=value and name=value as a word.
void print_script(const CLI::App& app)
{
    std::cout << "# bash completion of gponflow; eval \"$(gponflow completion)\"\n"
                 "_gponflow_words() {\n    local words=\n    case $1 in\n";
    print_level(app, "gponflow");
    std::cout << "    esac\n    echo \"$words\"\n}\n\n"
                 "_gponflow_values() {\n    local values\n    case $1 in\n";
    print_values(app, "gponflow");
    std::cout << R"(    *) return 1 ;;
    esac
    echo "$values"
}

_gponflow() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} path=gponflow i word
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        [[ $word != -* && " $(_gponflow_words "$path") " == *" $word "* &&
            -n $(_gponflow_words "$path $word") ]] && path+=" $word"
    done
    [[ $cur == = ]] && cur=
    [[ ${COMP_WORDS[COMP_CWORD]} != = && $prev == = ]] && prev=${COMP_WORDS[COMP_CWORD-2]}
    local offered
    offered=$(_gponflow_values "$path $prev") || offered=$(_gponflow_words "$path")
    COMPREPLY=($(compgen -W "$offered" -- "$cur"))
    [[ ${COMPREPLY[0]} == *= ]] && compopt -o nospace 2>/dev/null
    return 0
}
complete -o default -F _gponflow gponflow
)";
}

} // namespace

void add_completion_command(CLI::App& app)
{
    CLI::App* sub = app.add_subcommand("completion", "Print the bash completion script");
    sub->footer("\nExample:\n  eval \"$(gponflow completion)\"");
    sub->callback([&app] {
        print_script(app);
        if (!finish_output())
            throw CLI::RuntimeError(3);
    });
}

} // namespace gponflow
