#include "tools/navctl/manual/CompletionCommand.h"

#include <map>

#include "tools/navctl/Names.h"
#include "tools/navctl/feed/FeedOptions.h"
#include "tools/navctl/operations/Operation.h"
#include "tools/navctl/watch/EventKind.h"
#include "tools/navctl/wayline/WaylineSource.h"

namespace {

// What a shell calls, below the tables. The key "_" stands for no command yet. Where the tables
// have nothing, names of files are completed.

const char* const kBashFunction = R"(
_navctl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command=_ candidate place
    COMPREPLY=()
    for ((place = 1; place < COMP_CWORD; ++place)); do
        candidate="$command ${COMP_WORDS[place]}"
        [[ -n ${_navctl_words["$candidate"]+set} ]] && command=$candidate
    done
    if [[ " $_navctl_valued " == *" $previous "* ]]; then
        mapfile -t COMPREPLY < <(
            compgen -W "${_navctl_choices["$command $previous"]-}" -- "$current")
    elif [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(
            compgen -W "${_navctl_options["$command"]} ${_navctl_options[_]}" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -W "${_navctl_words["$command"]}" -- "$current")
    fi
}
complete -o default -F _navctl navctl
)";

const char* const kZshFunction = R"(
_navctl() {
    local current=${words[CURRENT]} previous=${words[CURRENT - 1]} command=_ candidate place
    local -a offered
    for ((place = 2; place < CURRENT; ++place)); do
        candidate="$command ${words[place]}"
        (( ${+_navctl_words[$candidate]} )) && command=$candidate
    done
    if [[ " $_navctl_valued " == *" $previous "* ]]; then
        offered=(${=_navctl_choices[$command $previous]-})
    elif [[ $current == -* ]]; then
        offered=(${=_navctl_options[$command]} ${=_navctl_options[_]})
    else
        offered=(${=_navctl_words[$command]})
    fi
    if (( $#offered )); then compadd -- $offered; else _files; fi
}
if [[ ${funcstack[1]-} == _navctl ]]; then _navctl "$@"; else compdef _navctl navctl; fi
)";

const char* const kFishFunction = R"fish(
function _navctl_offered
    set -l before (commandline -opc)
    set -l command _
    for word in $before[2..]
        contains -- "$command $word" $_navctl_commands; and set command "$command $word"
    end
    if contains -- $before[-1] $_navctl_valued
        _navctl_choices "$command $before[-1]"
    else if string match -q -- '-*' (commandline -ct)
        _navctl_options $command
        _navctl_options _
    else
        _navctl_words $command
    end
end
complete -c navctl -n 'test -n "$(_navctl_offered)"' -f
complete -c navctl -a '(_navctl_offered)'
)fish";

void Append(std::string& words, const std::string& word)
{
    words += (words.empty() ? "" : " ") + word;
}

/// Words by what they stand behind.
using CTable = std::vector<std::pair<std::string, std::string>>;

/// What may stand where a command's argument or the command below it stands.
std::string WordsAfter(CLI::App& command)
{
    std::string words;
    for (const CLI::App* const below : command.get_subcommands(nullptr)) {
        Append(words, below->get_name());
    }
    for (const COperation& operation : Operations()) {
        for (const CArgument& argument : operation.arguments) {
            if (operation.name != command.get_name() || argument.IsOption()) {
                continue;
            }
            for (const std::string& word : argument.Words()) {
                Append(words, word);
            }
        }
    }
    if (command.get_name() == "watch") {
        for (const CEventKind& kind : EventKinds()) {
            Append(words, kind.name);
        }
    }
    if (command.get_name() == "help") {
        for (const CLI::App* const other : command.get_parent()->get_subcommands(nullptr)) {
            Append(words, other->get_name());
        }
    }
    if (command.get_name() == "start") {
        for (const auto& [name, code] : WaylineKindNames()) {
            Append(words, name);
        }
    }
    return words;
}

template <typename Names>
std::string NamesIn(const Names& names)
{
    std::string words;
    for (const auto& entry : names) {
        Append(words, entry.first);
    }
    return words;
}

/// The formats that a command writes.
std::string FormatsWrittenBy(CLI::App& command)
{
    std::string words;
    const bool takesFields = command.get_parent()->get_name() == "boundary";
    for (const std::string& word : takesFields ? FieldTargetWords() : TargetWords()) {
        Append(words, word);
    }
    return words;
}

/// The words that an option of a command takes; empty when it does not want one of some.
std::string ChoicesOf(CLI::App& command, const std::string& option, const std::string& type)
{
    if (type == "FORMAT") {
        return option == "to" ? FormatsWrittenBy(command) : NamesIn(WaylineFormatNames());
    }
    if (option == "format") {
        return NamesIn(FeedFormatNames());
    }
    if (option == "rate") {
        return "max";
    }
    std::string words;
    if (type == "KIND") {
        for (const auto& [name, code] : WaylineKindNames()) {
            if (IsKindOfPoints(static_cast<Kestrove::EWaylineType>(code))) {
                Append(words, name);
            }
        }
    }
    for (const COperation& operation : Operations()) {
        for (const CArgument& argument : operation.arguments) {
            const bool isIt = operation.name == command.get_name() && argument.name == option;
            if (isIt && argument.IsOption() && !argument.isFlag) {
                for (const std::string& word : argument.Words()) {
                    Append(words, word);
                }
            }
        }
    }
    return words;
}

std::string OptionWords(CLI::App& command, bool onlyValued)
{
    std::string words;
    for (const CLI::Option* const option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            if (!onlyValued || option->get_items_expected_min() > 0) {
                Append(words, "--" + name);
            }
        }
    }
    return words;
}

/// What a script of completion knows of navctl's command line.
struct CTables
{
    CTable words;       ///< what may follow a command
    CTable options;     ///< those of a command
    CTable choices;     ///< what may follow an option of a command
    std::string valued; ///< the options that want a value

    void Add(CLI::App& command, const std::string& key)
    {
        words.emplace_back(key, WordsAfter(command));
        options.emplace_back(key, OptionWords(command, false));
        const std::string wanting = OptionWords(command, true);
        if (!wanting.empty()) {
            Append(valued, wanting);
        }
        for (const CLI::Option* const option : command.get_options()) {
            for (const std::string& name : option->get_lnames()) {
                const std::string chosen = ChoicesOf(command, name, option->get_type_name());
                if (!chosen.empty()) {
                    choices.emplace_back(key + " --" + name, chosen);
                }
            }
        }
        for (CLI::App* const below : command.get_subcommands(nullptr)) {
            Add(*below, key + " " + below->get_name());
        }
    }
};

/// A table with a text before each key, between key and words, and behind them.
std::string TableText(const CTable& table, const std::string& before, const std::string& between,
                      const std::string& behind)
{
    std::string text;
    for (const auto& [key, words] : table) {
        text += before;
        text += key;
        text += between;
        text += words;
        text += behind;
    }
    return text;
}

std::string BashScript(const CTables& tables)
{
    const auto table = [](const char* name, const CTable& entries) {
        return "declare -gA _navctl_" + std::string(name) + "=(\n" +
               TableText(entries, "    [\"", "\"]=\"", "\"\n") + ")\n";
    };
    return "# Completion of navctl's command line for bash.\n" + table("words", tables.words) +
           table("options", tables.options) + table("choices", tables.choices) +
           "_navctl_valued=\"" + tables.valued + "\"\n" + kBashFunction;
}

std::string ZshScript(const CTables& tables)
{
    const auto table = [](const char* name, const CTable& entries) {
        return "typeset -gA _navctl_" + std::string(name) + "=(\n" +
               TableText(entries, "    '", "' '", "'\n") + ")\n";
    };
    return "#compdef navctl\n# Completion of navctl's command line for zsh.\n" +
           table("words", tables.words) + table("options", tables.options) +
           table("choices", tables.choices) + "typeset -g _navctl_valued='" + tables.valued +
           "'\n" + kZshFunction;
}

std::string CommandsText(const CTable& table)
{
    std::string text;
    for (const auto& entry : table) {
        text += " '" + entry.first + "'";
    }
    return text;
}

std::string FishScript(const CTables& tables)
{
    const auto table = [](const char* name, const CTable& entries) {
        return "function _navctl_" + std::string(name) + "\n    switch \"$argv[1]\"\n" +
               TableText(entries, "        case '", "'\n            string split -n ' ' -- '",
                         "'\n") +
               "    end\nend\n";
    };
    return "# Completion of navctl's command line for fish.\n" + table("words", tables.words) +
           table("options", tables.options) + table("choices", tables.choices) +
           "set -g _navctl_valued " + tables.valued + "\nset -g _navctl_commands" +
           CommandsText(tables.words) + "\n" + kFishFunction;
}

/// A shell for which there is a script.
struct CShell
{
    const char* name;
    std::string (*script)(const CTables& tables);
};

constexpr CShell kShells[] = {{"bash", BashScript}, {"zsh", ZshScript}, {"fish", FishScript}};

} // namespace

void AddCompletionCommand(CLI::App& app, CContext& context)
{
    CLI::App* const command =
        app.add_subcommand("completion", "Writes a script that completes navctl's command line");
    command->require_subcommand(1);
    for (const CShell& shell : kShells) {
        const auto write = [&app, &context, &shell] {
            CTables tables;
            tables.Add(app, "_");
            const std::string script = shell.script(tables);
            if (context.WritesJson()) {
                context.Print({{"script", script}}, "");
            } else {
                context.Output().Write(script);
            }
        };
        command->add_subcommand(shell.name, std::string("For ") + shell.name)->callback(write);
    }
}
