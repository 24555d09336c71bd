// SPDX-License-Identifier: GPL-2.0-only
// gponflow completion: what bash offers behind a word, made from the subcommands themselves.
#include <iostream>
#include <string>
#include <vector>

#include "tools/gponflow/commands.h"
#include "tools/gponflow/me_fields.h"
#include "tools/gponflow/terminal.h"

namespace gponflow {

namespace {

const auto any = [](const CLI::App*) { return true; };

// Subcommands and options of one level.
std::string words_of(const CLI::App& app)
{
    std::string words;
    for (const CLI::App* sub : app.get_subcommands(any))
        words += sub->get_name() + " ";
    for (const CLI::Option* option : app.get_options())
        for (const std::string& name : option->get_lnames())
            words += "--" + name + " ";
    return words;
}

void print_level(const CLI::App& app, const std::string& path)
{
    std::cout << "    '" << path << "') words='" << words_of(app) << "' ;;\n";
    for (const CLI::App* sub : app.get_subcommands(any))
        print_level(*sub, path + " " + sub->get_name());
}

std::string class_names()
{
    std::string names;
    for (const me_class_fields& one : me_classes())
        names += std::string(one.name) + " ";
    return names;
}

// The words before the cursor that name subcommands are the way to the level.
void print_script(const CLI::App& app)
{
    std::cout << "# bash completion of gponflow; eval \"$(gponflow completion)\"\n"
                 "_gponflow_words() {\n    local words=\n    case $1 in\n";
    print_level(app, "gponflow");
    std::cout
        << "    esac\n    echo \"$words\"\n}\n\n"
           "_gponflow() {\n"
           "    local cur=${COMP_WORDS[COMP_CWORD]} path=gponflow i word\n"
           "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
           "        word=${COMP_WORDS[i]}\n"
           "        [[ $word != -* && \" $(_gponflow_words \"$path\") \" == *\" $word \"* ]] &&\n"
           "            path+=\" $word\"\n"
           "    done\n"
           "    local offered; offered=$(_gponflow_words \"$path\")\n"
           "    [[ $path == *' me' ]] && offered+=' "
        << class_names()
        << "'\n"
           "    COMPREPLY=($(compgen -W \"$offered\" -- \"$cur\"))\n"
           "}\n"
           "complete -o default -F _gponflow gponflow\n";
}

} // namespace

void add_completion_command(CLI::App& app)
{
    CLI::App* sub = app.add_subcommand("completion", "Print what bash needs to complete words");
    sub->footer("\nExample:\n  eval \"$(gponflow completion)\"");
    sub->callback([&app] {
        print_script(app);
        if (!finish_output())
            throw CLI::RuntimeError(3);
    });
}

} // namespace gponflow
