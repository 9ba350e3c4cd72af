#include "tools/navctl/UsageProblem.h"

#include <algorithm>
#include <numeric>
#include <optional>

#include "platform/Utilities.h"
#include "tools/navctl/files/CsvRow.h"

namespace {

/// So many letters may be wrong in a command for another one to be suggested.
constexpr std::size_t kMostWrongLetters = 2;

/// How many letters must be changed, put in or taken out to make one word of the other: V. I.
/// Levenshtein, "Binary codes capable of correcting deletions, insertions and reversals", 1966.
std::size_t Distance(const std::string& from, const std::string& to)
{
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t k = 0; k < to.size(); ++k) {
            const std::size_t changed = diagonal + (from[i] == to[k] ? 0 : 1);
            diagonal = row[k + 1];
            row[k + 1] = std::min({changed, row[k] + 1, row[k + 1] + 1});
        }
    }
    return row.back();
}

const CLI::App* CommandBelow(const CLI::App& app, const std::string& name)
{
    for (const CLI::App* const command : app.get_subcommands(nullptr)) {
        if (command->get_name() == name)
            return command;
    }
    return nullptr;
}

std::string Suggestion(const CLI::App& app, const std::string& word)
{
    std::string nearest;
    std::size_t least = std::min(kMostWrongLetters + 1, word.size());
    for (const CLI::App* const command : app.get_subcommands(nullptr)) {
        const std::size_t distance = Distance(word, command->get_name());
        if (distance < least) {
            least = distance;
            nearest = command->get_name();
        }
    }
    return nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?";
}

/// What stands in the place of a command and is none.
std::optional<std::string> UnknownCommand(const CLI::App& app,
                                          const std::vector<std::string>& words)
{
    const CLI::App* command = &app;
    for (std::size_t place = 0; place < words.size(); ++place) {
        const std::string& word = words[place];
        if (word.rfind('-', 0) == 0) {
            const CLI::Option* const option = app.get_option_no_throw(word);
            if (option != nullptr && option->get_items_expected_min() > 0)
                ++place;
            continue;
        }
        const CLI::App* const below = CommandBelow(*command, word);
        if (below == nullptr) {
            if (command->get_subcommands(nullptr).empty())
                return std::nullopt;
            std::string problem = "there is no command \"" + word + '"';
            if (command != &app)
                problem.append(" of ").append(command->get_name());
            return problem.append(Suggestion(*command, word));
        }
        command = below;
    }
    return std::nullopt;
}

} // namespace

std::string UsageProblem(const CLI::App& app, const std::vector<std::string>& words,
                         const CLI::ParseError& error)
{
    return UnknownCommand(app, words).value_or(error.what());
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
