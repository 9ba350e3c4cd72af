#include "tools/navctl/manual/CompletionCommand.h"

#include <map>

#include "tools/navctl/Names.h"
#include "tools/navctl/feed/FeedOptions.h"
#include "tools/navctl/operations/Operation.h"
#include "tools/navctl/watch/EventKind.h"
#include "tools/navctl/wayline/WaylineSource.h"

namespace {

/// What bash calls, below the tables. The key "_" stands for no command yet. Where the tables have
/// nothing, names of files are completed.
const char* const kFunction = R"(
_navctl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command=_ candidate place
    COMPREPLY=()
    if [[ " $_navctl_valued " == *" $previous "* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "${_navctl_choices["$previous"]-}" -- "$current")
        return
    fi
    for ((place = 1; place < COMP_CWORD; ++place)); do
        candidate="$command ${COMP_WORDS[place]}"
        [[ -n ${_navctl_words["$candidate"]+set} ]] && command=$candidate
    done
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(
            compgen -W "${_navctl_options["$command"]} ${_navctl_options[_]}" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -W "${_navctl_words["$command"]}" -- "$current")
    fi
}
complete -o default -F _navctl navctl
)";

void Append(std::string& words, const std::string& word)
{
    words += (words.empty() ? "" : " ") + word;
}

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

/// What may stand behind the options that want a word: an entry of the table for each.
std::string ChoicesOfOptions()
{
    std::string kinds;
    for (const auto& [name, code] : WaylineKindNames()) {
        if (IsKindOfPoints(static_cast<Kestrove::EWaylineType>(code))) {
            Append(kinds, name);
        }
    }
    std::map<std::string, std::string> choices{{"from", NamesIn(WaylineFormatNames())},
                                               {"to", NamesIn(WaylineFormatNames())},
                                               {"format", NamesIn(FeedFormatNames())},
                                               {"rate", "max"},
                                               {"kind", kinds}};
    for (const COperation& operation : Operations()) {
        for (const CArgument& argument : operation.arguments) {
            std::string words;
            for (const std::string& word : argument.Words()) {
                Append(words, word);
            }
            if (argument.IsOption() && !argument.isFlag && !words.empty()) {
                choices[argument.name] = words;
            }
        }
    }
    std::string table;
    for (const auto& [name, words] : choices) {
        table.append("    [\"--").append(name).append("\"]=\"").append(words).append("\"\n");
    }
    return table;
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

/// The entries of the tables for a command and all below it.
struct CTables
{
    std::string words;
    std::string options;
    std::string valued; ///< the options that want a value

    void Add(CLI::App& command, const std::string& key)
    {
        words += "    [\"" + key + "\"]=\"" + WordsAfter(command) + "\"\n";
        options += "    [\"" + key + "\"]=\"" + OptionWords(command, false) + "\"\n";
        const std::string wanting = OptionWords(command, true);
        if (!wanting.empty()) {
            Append(valued, wanting);
        }
        for (CLI::App* const below : command.get_subcommands(nullptr)) {
            Add(*below, key + " " + below->get_name());
        }
    }
};

std::string BashScript(CLI::App& app)
{
    CTables tables;
    tables.Add(app, "_");
    return "# Completion of navctl's command line for bash.\n"
           "declare -gA _navctl_words=(\n" +
           tables.words + ")\ndeclare -gA _navctl_options=(\n" + tables.options +
           ")\ndeclare -gA _navctl_choices=(\n" + ChoicesOfOptions() + ")\n_navctl_valued=\"" +
           tables.valued + "\"\n" + kFunction;
}

} // namespace

void AddCompletionCommand(CLI::App& app, CContext& context)
{
    CLI::App* const command =
        app.add_subcommand("completion", "Writes a script that completes navctl's command line");
    command->require_subcommand(1);
    command->add_subcommand("bash", "For bash")->callback([&app, &context] {
        const std::string script = BashScript(app);
        if (context.WritesJson()) {
            context.Print({{"script", script}}, "");
        } else {
            context.Output().Write(script);
        }
    });
}
