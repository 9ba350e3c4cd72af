#include "tools/navctl/Suggestion.h"

#include <algorithm>
#include <set>

namespace {

/// So many letters may be wrong in a word for another one to be suggested.
constexpr std::size_t kMostWrongLetters = 2;
constexpr std::size_t kMostSuggested = 3;

using Words = std::vector<std::string>;

/// How many letters must be changed, put in, taken out or swapped with their neighbour to make one
/// word of the other: F. J. Damerau, "A technique for computer detection and correction of spelling
/// errors", 1964.
std::size_t Distance(const std::string& from, const std::string& to)
{
    const std::size_t width = to.size() + 1;
    std::vector<std::size_t> table((from.size() + 1) * width);
    const auto at = [&](std::size_t row, std::size_t column) -> std::size_t& {
        return table[row * width + column];
    };
    for (std::size_t row = 0; row <= from.size(); ++row) {
        for (std::size_t column = 0; column < width; ++column) {
            if (row == 0 || column == 0) {
                at(row, column) = row + column;
                continue;
            }
            const std::size_t changed =
                at(row - 1, column - 1) + (from[row - 1] == to[column - 1] ? 0 : 1);
            std::size_t least =
                std::min({changed, at(row - 1, column) + 1, at(row, column - 1) + 1});
            if (row > 1 && column > 1 && from[row - 1] == to[column - 2] &&
                from[row - 2] == to[column - 1])
                least = std::min(least, at(row - 2, column - 2) + 1);
            at(row, column) = least;
        }
    }
    return table.back();
}

/// The words with the fewest letters wrong.
Words Nearest(const std::string& word, const Words& words)
{
    Words nearest;
    std::size_t least = std::min(kMostWrongLetters + 1, word.size());
    for (const std::string& each : words) {
        const std::size_t distance = Distance(word, each);
        if (distance < least) {
            nearest.clear();
            least = distance;
        }
        if (distance == least && distance <= kMostWrongLetters && distance < word.size())
            nearest.push_back(each);
    }
    return nearest;
}

std::set<std::string> PartsOf(const std::string& word)
{
    std::set<std::string> parts;
    std::size_t begin = 0;
    while (begin <= word.size()) {
        const std::size_t end = std::min(word.find('-', begin), word.size());
        parts.insert(word.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

std::string VerbOf(const std::string& command)
{
    return command.substr(0, command.find('-'));
}

/// The verbs that a word may begin with: the one that it has, or the nearest.
Words VerbsMeant(const std::string& word, const Words& commands)
{
    std::set<std::string> verbs;
    for (const std::string& command : commands) {
        if (command.find('-') != std::string::npos)
            verbs.insert(VerbOf(command));
    }
    for (const std::string& verb : verbs) {
        if (word.find('-') == std::string::npos && word.rfind(verb, 0) == 0)
            return {verb};
    }
    if (verbs.count(VerbOf(word)) != 0)
        return {VerbOf(word)};
    return Nearest(VerbOf(word), {verbs.begin(), verbs.end()});
}

} // namespace

std::string Suggestion(const std::string& word, const std::vector<std::string>& words)
{
    Words suggested = Nearest(word, words);
    const std::set<std::string> parts = PartsOf(word);
    for (const std::string& each : words) {
        const std::set<std::string> others = PartsOf(each);
        const bool hasAll = std::includes(others.begin(), others.end(), parts.begin(), parts.end());
        if (hasAll && std::find(suggested.begin(), suggested.end(), each) == suggested.end())
            suggested.push_back(each);
    }
    suggested.resize(std::min(suggested.size(), kMostSuggested));
    std::string text;
    for (const std::string& each : suggested)
        text += (text.empty() ? "" : " or ") + ('"' + each + '"');
    return text.empty() ? text : "; did you mean " + text + "?";
}

std::string CommandSuggestion(const std::string& word, const std::vector<std::string>& commands)
{
    const Words verbs = VerbsMeant(word, commands);
    const bool isPlain = word.find('-') == std::string::npos;
    Words possible;
    for (const std::string& command : commands) {
        const bool isOfVerb = std::find(verbs.begin(), verbs.end(), VerbOf(command)) != verbs.end();
        const bool isPlainToo = isPlain && command.find('-') == std::string::npos;
        if (isOfVerb || isPlainToo)
            possible.push_back(command);
    }
    return Suggestion(word, possible);
}
