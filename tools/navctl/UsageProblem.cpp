#include "tools/navctl/UsageProblem.h"

#include <algorithm>

#include "platform/Utilities.h"
#include "tools/navctl/Suggestion.h"
#include "tools/navctl/files/CsvRow.h"

namespace {

const CLI::App* CommandBelow(const CLI::App& app, const std::string& name)
{
    for (const CLI::App* const command : app.get_subcommands(nullptr)) {
        if (command->get_name() == name)
            return command;
    }
    return nullptr;
}

std::vector<std::string> CommandsBelow(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* const command : app.get_subcommands(nullptr))
        names.push_back(command->get_name());
    return names;
}

/// The options of a command and those of the commands above it, with their hyphens.
std::vector<std::string> OptionsOf(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* each = &app; each != nullptr; each = each->get_parent()) {
        for (const CLI::Option* const option : each->get_options()) {
            for (const std::string& name : option->get_lnames())
                names.push_back("--" + name);
        }
    }
    return names;
}

const CLI::Option* FindOption(const CLI::App& app, const std::string& name)
{
    for (const CLI::App* each = &app; each != nullptr; each = each->get_parent()) {
        if (const CLI::Option* const option = each->get_option_no_throw(name))
            return option;
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

/// Goes through the words of a command line up to the first that is none of its commands or
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
            if (!(LooksLikeOption(word) ? PassOption(word) : PassCommand(word)))
                return m_problem;
        }
        return std::nullopt;
    }

    /// The words behind the command that are none of its options, once Find() has found nothing.
    const std::vector<std::string>& Arguments() const { return m_arguments; }

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
        if (TakesNextWord(*option, word))
            ++m_place;
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
    std::string m_problem;
};

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
        problem = "help takes the name of a command, and not \"" + search.Arguments().front() +
                  "\" behind it";
    }
    return problem;
}

std::size_t PlaceOfCommand(const CLI::App& app, const std::vector<std::string>& words)
{
    std::size_t place = 0;
    for (; place < words.size() && LooksLikeOption(words[place]); ++place) {
        const std::string name = words[place].substr(0, words[place].find('='));
        const CLI::Option* const option = FindOption(app, name);
        if (option != nullptr && TakesNextWord(*option, words[place]))
            ++place;
    }
    return std::min(place, words.size());
}

std::string UsageProblem(const CLI::App& app, const std::vector<std::string>& words,
                         const CLI::ParseError& error)
{
    return UnknownWord(app, words).value_or(error.what());
}

CLI::Validator WordAmong(const std::vector<std::string>& words)
{
    return CLI::Validator(
        [words](const std::string& text) {
            if (std::find(words.begin(), words.end(), text) != words.end()) {
                return std::string();
            }
            std::string all;
            for (const std::string& word : words) {
                all += (all.empty() ? "" : ", ") + word;
            }
            return "\"" + text + "\" is none of " + all + Suggestion(text, words);
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
