#include "tools/navctl/UsageProblem.h"

#include <algorithm>

#include "platform/Utilities.h"
#include "tools/navctl/Suggestion.h"
#include "tools/navctl/files/CsvRow.h"

namespace {

const CLI::App* CommandBelow(const CLI::App& app, const std::string& name)
{
    for (const CLI::App* const command : app.get_subcommands(nullptr)) {
        if (command->get_name() == name) {
            return command;
        }
    }
    return nullptr;
}

std::vector<std::string> CommandsBelow(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* const command : app.get_subcommands(nullptr)) {
        names.push_back(command->get_name());
    }
    return names;
}

/// The options of a command and those of the commands above it, with their hyphens.
std::vector<std::string> OptionsOf(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* each = &app; each != nullptr; each = each->get_parent()) {
        for (const CLI::Option* const option : each->get_options()) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    return names;
}

const CLI::Option* FindOption(const CLI::App& app, const std::string& name)
{
    for (const CLI::App* each = &app; each != nullptr; each = each->get_parent()) {
        if (const CLI::Option* const option = each->get_option_no_throw(name)) {
            return option;
        }
    }
    return nullptr;
}

std::string Of(const CLI::App& app, const CLI::App& command)
{
    return &command == &app ? "" : " of " + command.get_name();
}

bool IsNumber(const std::string& word)
{
    return word.find_first_of("0123456789.") == 1;
}

bool LooksLikeOption(const std::string& word)
{
    return word.size() > 1 && word.front() == '-' && !IsNumber(word);
}

/// Whether the word behind an option is its value.
bool TakesNextWord(const CLI::Option& option, const std::string& word)
{
    return word.find('=') == std::string::npos && option.get_items_expected_min() > 0;
}

std::string WantsAValue(const std::string& name, const CLI::Option& option)
{
    return name + " wants a value, " + option.get_type_name() + ": " + option.get_description();
}

/// Goes through the words of a command line up to the first that is not one of its commands or
/// options.
class CWordSearch
{
public:
    CWordSearch(const CLI::App& app, const std::vector<std::string>& words)
        : m_app(app), m_words(words), m_command(&app)
    {
    }

    /// What the word is and may have been meant to be; nothing when there is no such word.
    std::optional<std::string> Find()
    {
        for (m_place = 0; m_place < m_words.size() && m_words[m_place] != "--"; ++m_place) {
            const std::string& word = m_words[m_place];
            if (!(LooksLikeOption(word) ? PassOption(word) : PassCommand(word))) {
                return m_problem;
            }
        }
        // Behind "--" there are arguments alone.
        for (++m_place; m_place < m_words.size(); ++m_place) {
            m_arguments.push_back(m_words[m_place]);
        }
        return std::nullopt;
    }

    /// The words behind the command that are not its options, once Find() has found nothing.
    const std::vector<std::string>& Arguments() const { return m_arguments; }
    /// The command that the words name.
    const CLI::App& Command() const { return *m_command; }

    /// An option that was given.
    struct Given
    {
        const CLI::Option* option;
        std::string name;
        bool isWithoutValue; ///< it wants one, and there is nothing behind it
    };
    /// The options that were given, once Find() has found nothing.
    const std::vector<Given>& Options() const { return m_given; }

private:
    bool PassOption(const std::string& word)
    {
        const std::string name = word.substr(0, word.find('='));
        const CLI::Option* const option = FindOption(*m_command, name);
        if (option == nullptr) {
            m_problem = "there is no option \"" + name + '"' + Of(m_app, *m_command) +
                        Suggestion(name, OptionsOf(*m_command));
            return false;
        }
        if (word == name + '=' && option->get_items_expected_min() > 0) {
            m_problem = WantsAValue(name, *option);
            return false;
        }
        const bool isApart = TakesNextWord(*option, word);
        m_given.push_back({option, name, isApart && m_place + 1 == m_words.size()});
        m_place += isApart ? 1 : 0;
        return true;
    }

    bool PassCommand(const std::string& word)
    {
        if (m_command->get_subcommands(nullptr).empty()) {
            m_arguments.push_back(word);
            return true;
        }
        const CLI::App* const below = CommandBelow(*m_command, word);
        if (below == nullptr) {
            m_problem = "there is no command \"" + word + '"' + Of(m_app, *m_command) +
                        CommandSuggestion(word, CommandsBelow(*m_command));
            return false;
        }
        m_command = below;
        return true;
    }

    const CLI::App& m_app;
    const std::vector<std::string>& m_words;
    const CLI::App* m_command;
    std::size_t m_place = 0;
    std::vector<std::string> m_arguments;
    std::vector<Given> m_given;
    std::string m_problem;
};

std::string Joined(const std::vector<std::string>& words, const std::string& separator)
{
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : separator) + word;
    }
    return text;
}

/// Which arguments are too many; empty when none is.
std::string TooMany(const CWordSearch& search)
{
    std::vector<std::string> names;
    std::size_t count = 0;
    for (const CLI::Option* const option : search.Command().get_options()) {
        if (!option->get_positional()) {
            continue;
        }
        names.push_back(option->get_name());
        count += static_cast<std::size_t>(option->get_items_expected_max());
    }
    std::vector<std::string> surplus;
    for (std::size_t place = count; place < search.Arguments().size(); ++place) {
        surplus.push_back('"' + search.Arguments()[place] + '"');
    }
    if (surplus.empty()) {
        return {};
    }
    return search.Command().get_name() + " takes " +
           (names.empty() ? "no arguments" : "no more than " + Joined(names, ", ")) +
           "; too much is " + Joined(surplus, " ");
}

/// Which option has no value, or more than one; empty when none.
std::string WrongCount(const CWordSearch& search)
{
    for (const CWordSearch::Given& given : search.Options()) {
        const auto times =
            std::count_if(search.Options().begin(), search.Options().end(),
                          [&](const auto& other) { return other.option == given.option; });
        if (given.isWithoutValue) {
            return WantsAValue(given.name, *given.option);
        }
        if (times > 1 && given.option->get_items_expected_max() <= 1) {
            return given.name + " may be given once, and is given " + std::to_string(times) +
                   " times";
        }
    }
    return {};
}

/// Whether a word can stand behind an option that is set by its name alone.
bool IsFlagValue(const std::string& word)
{
    CLI::App reader;
    const CLI::Option* const option = reader.add_option("flag")->add_result(word);
    try {
        static_cast<void>(option->as<bool>());
        return !word.empty();
    } catch (const CLI::ConversionError&) {
        return false;
    }
}

/// Which option that is set by its name alone has something else than on or off behind it; empty
/// when none.
std::string WrongFlag(const CWordSearch& search, const std::vector<std::string>& words)
{
    for (const CWordSearch::Given& given : search.Options()) {
        const std::string beginning = given.name + "=";
        for (const std::string& word : words) {
            const bool isIt =
                given.option->get_items_expected_max() == 0 && word.rfind(beginning, 0) == 0;
            const std::string value = isIt ? word.substr(beginning.size()) : "";
            if (isIt && !IsFlagValue(value)) {
                return given.name + ": \"" + value + "\" is not allowed, wanted is " + given.name +
                       " alone, or on or off behind the =";
            }
        }
    }
    return {};
}

/// The command that is missing; empty when none is.
std::string MissingCommand(const CLI::App& app, const CLI::App& command)
{
    if (command.get_subcommands(nullptr).empty()) {
        return {};
    }
    if (&command == &app) {
        return "a command is missing, such as doctor; navctl --help lists all";
    }
    return command.get_name() +
           " wants one of its commands: " + Joined(CommandsBelow(command), ", ");
}

} // namespace

std::optional<std::string> UnknownWord(const CLI::App& app, const std::vector<std::string>& words)
{
    return CWordSearch(app, words).Find();
}

std::optional<std::string> HelpProblem(const CLI::App& app, const std::vector<std::string>& words)
{
    CWordSearch search(app, words);
    std::optional<std::string> problem = search.Find();
    if (!problem && !search.Arguments().empty()) {
        problem = "help takes one command; there is \"" + search.Arguments().front() +
                  "\" behind \"" + search.Command().get_name() + '"';
    }
    return problem;
}

std::size_t PlaceOfCommand(const CLI::App& app, const std::vector<std::string>& words)
{
    std::size_t place = 0;
    for (; place < words.size() && LooksLikeOption(words[place]); ++place) {
        const std::string name = words[place].substr(0, words[place].find('='));
        const CLI::Option* const option = FindOption(app, name);
        if (option != nullptr && TakesNextWord(*option, words[place])) {
            ++place;
        }
    }
    return std::min(place, words.size());
}

std::string UsageProblem(const CLI::App& app, const std::vector<std::string>& words,
                         const CLI::ParseError& error)
{
    CWordSearch search(app, words);
    if (const std::optional<std::string> problem = search.Find()) {
        return *problem;
    }
    std::string problem;
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        problem = TooMany(search);
    } else if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        problem = WrongCount(search);
    } else if (dynamic_cast<const CLI::ConversionError*>(&error) != nullptr) {
        problem = WrongFlag(search, words);
    } else if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        problem = MissingCommand(app, search.Command());
    }
    return problem.empty() ? error.what() : problem;
}

CLI::Validator WordAmong(const std::vector<std::string>& words)
{
    return CLI::Validator(
        [words](const std::string& text) {
            if (std::find(words.begin(), words.end(), text) != words.end()) {
                return std::string();
            }
            return "\"" + text + "\" is none of " + Joined(words, ", ") + Suggestion(text, words);
        },
        "");
}

CLI::Validator WholeNumberWithin(int lowest, int highest)
{
    return CLI::Validator(
        [lowest, highest](const std::string& text) {
            int value = 0;
            const bool isGood =
                Core::Utilities::ParseInt(text, value) != 0 && value >= lowest && value <= highest;
            return isGood ? std::string()
                          : "\"" + text + "\" is no whole number from " + std::to_string(lowest) +
                                " to " + std::to_string(highest);
        },
        "");
}

CLI::Validator NumberWithin(double lowest, double highest, const std::string& range)
{
    return CLI::Validator(
        [lowest, highest, range](const std::string& text) {
            const std::optional<double> value = FiniteNumber(text);
            return value && *value >= lowest && *value <= highest
                       ? std::string()
                       : "\"" + text + "\" is no number from " + range;
        },
        "");
}
