// SPDX-License-Identifier: GPL-2.0-only
// gponflow completion: completion scripts of shells, generated from the subcommands themselves.
#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tool/check/rules.h"
#include "tool/commands/commands.h"
#include "tool/commands/help_format.h"
#include "tool/live/operator_lines.h"
#include "tool/model/class_records.h"
#include "tool/text/json_document.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

const std::vector<std::string_view> completion_shells = {"bash", "zsh", "fish"};

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

// Known values of an argument; none for a file or a number.
std::string values_of(const CLI::App& app, const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    const std::string name = option.get_name(true);
    if (type == "CLASS" || name == "CLASS")
        return class_names();
    if (app.get_name() == "check" && (name == "--explain" || name == "--silence"))
        return in_line(rule_names()) + (name == "--explain" ? "all " : "");
    if (name == "LEVEL")
        return in_line(debug_level_names());
    if (name == "FILTER")
        return in_line(trace_filter_names(), "= ") +
               (app.get_parent()->get_name() == "set" ? "off " : "");
    if (name == "SHELL")
        return in_line(completion_shells);
    std::string words;
    for (const std::string& word : accepted_words(option))
        words += word + " ";
    return words;
}

// --pcap has options of a pcap command behind the name of the file.
bool takes_file(const CLI::Option& option)
{
    return option.get_type_name() == "FILE" || option.get_name(true) == "FILE";
}

bool has_file_argument(const CLI::App& app)
{
    return std::ranges::any_of(app.get_options(), [](const CLI::Option* option) {
        return option->get_positional() && takes_file(*option);
    });
}

// "--name" and "-n" of an option.
std::vector<std::string> flags_of(const CLI::Option& option)
{
    std::vector<std::string> flags;
    for (const std::string& name : option.get_lnames())
        flags.push_back("--" + name);
    for (const std::string& name : option.get_snames())
        flags.push_back("-" + name);
    return flags;
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
            words += values_of(app, *option);
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
        for (const std::string& flag : flags_of(*option))
            std::cout << "    '" << path << " " << flag << "') values='" << values_of(app, *option)
                      << "' ;;\n";
    }
    for (const CLI::App* sub : app.get_subcommands(any))
        print_values(*sub, path + " " + sub->get_name());
}

// Levels with a file as an argument, and options with one.
void print_files(const CLI::App& app, const std::string& path)
{
    if (has_file_argument(app))
        std::cout << "    '" << path << "') return 0 ;;\n";
    for (const CLI::Option* option : app.get_options())
        for (const std::string& flag : flags_of(*option))
            if (takes_file(*option))
                std::cout << "    '" << path << " " << flag << "') return 0 ;;\n";
    for (const CLI::App* sub : app.get_subcommands(any))
        print_files(*sub, path + " " + sub->get_name());
}

// The subcommand names before the cursor form the path of the level. Bash treats the sign in
// --name=value and name=value as a word.
void print_tables(const CLI::App& app)
{
    std::cout << "_gponflow_words() {\n    local words=\n    case $1 in\n";
    print_level(app, "gponflow");
    std::cout << "    esac\n    echo \"$words\"\n}\n\n"
                 "_gponflow_values() {\n    local values\n    case $1 in\n";
    print_values(app, "gponflow");
    std::cout << "    *) return 1 ;;\n    esac\n    echo \"$values\"\n}\n\n"
                 "_gponflow_files() {\n    case $1 in\n";
    print_files(app, "gponflow");
    std::cout << "    esac\n    return 1\n}\n\n";
}

// The function lists files beside words. If it lists none, the default of readline completes names
// that begin with a tilde.
void print_bash(const CLI::App& app)
{
    std::cout << "# bash completion of gponflow; eval \"$(gponflow completion)\"\n";
    print_tables(app);
    std::cout << R"(_gponflow() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} path=gponflow i word
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        [[ $word != -* && " $(_gponflow_words "$path") " == *" $word "* &&
            -n $(_gponflow_words "$path $word") ]] && path+=" $word"
    done
    [[ $cur == = ]] && cur=
    [[ ${COMP_WORDS[COMP_CWORD]} != = && $prev == = ]] && prev=${COMP_WORDS[COMP_CWORD-2]}
    local offered key="$path $prev" files
    offered=$(_gponflow_values "$key") || {
        key=$path
        offered=$(_gponflow_words "$key")
    }
    COMPREPLY=($(compgen -W "$offered" -- "$cur"))
    [[ ${COMPREPLY[0]} == *= ]] && compopt -o nospace 2>/dev/null
    if [[ $cur != -* ]] && _gponflow_files "$key"; then
        compopt -o filenames -o default 2>/dev/null
        mapfile -t files < <(compgen -f -- "$cur")
        COMPREPLY+=("${files[@]}")
    fi
    return 0
}
complete -F _gponflow gponflow
)";
}

// The tables are functions of both shells; "words" is a variable of the completion in zsh.
void print_zsh(const CLI::App& app)
{
    std::cout << "#compdef gponflow\n# zsh completion of gponflow; source <(gponflow completion "
                 "zsh)\n";
    print_tables(app);
    std::cout << R"(_gponflow() {
    local level=gponflow offered word i
    for ((i = 2; i < CURRENT; i++)); do
        word=${words[i]}
        [[ $word != -* && " $(_gponflow_words "$level") " == *" $word "* &&
            -n $(_gponflow_words "$level $word") ]] && level+=" $word"
    done
    local key="$level ${words[CURRENT-1]}"
    offered=$(_gponflow_values "$key") || {
        key=$level
        offered=$(_gponflow_words "$key")
    }
    [[ -z $offered ]] || compadd -- ${=offered}
    [[ ${words[CURRENT]} == -* ]] || ! _gponflow_files "$key" || _files
}
(( ${+functions[compdef]} )) && compdef _gponflow gponflow
)";
}

// In single quotes of fish.
std::string fish_quoted(const std::string& text)
{
    std::string result = "'";
    for (const char letter : text)
        result +=
            letter == '\'' || letter == '\\' ? std::string("\\") + letter : std::string(1, letter);
    return result + "'";
}

void print_fish_option(const CLI::App& app, const CLI::Option& option, const std::string& head)
{
    const std::string values = values_of(app, option);
    for (const std::string& flag : flags_of(option)) {
        const bool is_long = flag.starts_with("--");
        std::cout << head << (is_long ? " -l " : " -s ") << flag.substr(is_long ? 2 : 1) << " -d "
                  << fish_quoted(option.get_description());
        if (option.get_items_expected_max() != 0)
            std::cout << (takes_file(option) ? " -r -F" : " -x")
                      << (values.empty() ? "" : " -a " + fish_quoted(values));
        std::cout << '\n';
    }
    if (option.get_positional() && !values.empty())
        std::cout << head << " -f -a " << fish_quoted(values) << '\n';
}

void print_fish_level(const CLI::App& app, const std::string& path)
{
    const std::string head = "complete -c gponflow -n \"__gponflow_at '" + path + "'\"";
    for (const CLI::App* sub : app.get_subcommands(any))
        std::cout << head << " -f -a " << sub->get_name() << " -d "
                  << fish_quoted(sub->get_description()) << '\n';
    std::cout << head << (has_file_argument(app) ? " -F" : " -f") << '\n';
    for (const CLI::Option* option : app.get_options())
        print_fish_option(app, *option, head);
    for (const CLI::App* sub : app.get_subcommands(any))
        print_fish_level(*sub, path + " " + sub->get_name());
}

void print_paths(const CLI::App& app, const std::string& path)
{
    for (const CLI::App* sub : app.get_subcommands(any)) {
        std::cout << " '" << path << " " << sub->get_name() << "'";
        print_paths(*sub, path + " " + sub->get_name());
    }
}

void print_fish(const CLI::App& app)
{
    std::cout << R"(# fish completion of gponflow; gponflow completion fish | source
function __gponflow_at
    set -l path gponflow
    for word in (commandline -opc)[2..-1]
        switch "$path $word"
            case)";
    print_paths(app, "gponflow");
    std::cout << R"(
                set path "$path $word"
        end
    end
    test "$path" = "$argv[1]"
end
)";
    print_fish_level(app, "gponflow");
}

// Subcommands, options and known words of one level.
json level_json(const CLI::App& app, const std::string& path)
{
    json subcommands = json::array();
    for (const CLI::App* sub : app.get_subcommands(any))
        subcommands.push_back(level_json(*sub, sub->get_name()));
    json options = json::array();
    for (const CLI::Option* option : app.get_options())
        options.push_back({{"name", option->get_name()},
                           {"description", option->get_description()},
                           {"takes_value", option->get_items_expected_max() != 0},
                           {"takes_file", takes_file(*option)},
                           {"values", values_of(app, *option)}});
    return {{"name", path},
            {"description", app.get_description()},
            {"options", std::move(options)},
            {"subcommands", std::move(subcommands)}};
}

void print_completion_json(const CLI::App& app)
{
    json whole = json_document("completion");
    whole["command"] = level_json(app, "gponflow");
    print_json(whole, std::cout);
}

} // namespace

void add_completion_command(CLI::App& app)
{
    const auto as_json = std::make_shared<bool>(false);
    const auto shell = std::make_shared<std::string>("bash");
    CLI::App* sub = app.add_subcommand("completion", "Print the completion script of a shell");
    sub->add_option("SHELL", *shell, "bash, zsh or fish")
        ->check(CLI::IsMember({"bash", "zsh", "fish"}))
        ->capture_default_str();
    sub->add_flag("--json", *as_json, "Print the subcommands and options as JSON");
    sub->footer("\nExamples:\n  eval \"$(gponflow completion)\"\n"
                "  source <(gponflow completion zsh)\n"
                "  gponflow completion fish | source\n\n"
                "The packages install these scripts where the shells find them.");
    sub->callback([&app, shell, as_json] {
        if (*as_json)
            print_completion_json(app);
        else if (*shell == "zsh")
            print_zsh(app);
        else if (*shell == "fish")
            print_fish(app);
        else
            print_bash(app);
        if (!finish_output())
            throw CLI::RuntimeError(3);
    });
}

} // namespace gponflow
