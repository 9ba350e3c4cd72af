#include "tools/navctl/Suggestion.h"

#include <algorithm>
#include <cctype>
#include <functional>
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
                from[row - 2] == to[column - 1]) {
                least = std::min(least, at(row - 2, column - 2) + 1);
            }
            at(row, column) = least;
        }
    }
    return table.back();
}

/// The word as the words of a command line are written.
std::string InTheirSpelling(const std::string& word)
{
    std::string spelt;
    for (const char letter : word) {
        spelt += letter == '_'
                     ? '-'
                     : static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    }
    return spelt;
}

/// The words with the fewest letters wrong.
Words Nearest(const std::string& word, const Words& words)
{
    Words nearest;
    std::size_t least = std::min(kMostWrongLetters + 1, word.size());
    for (const std::string& each : words) {
        const std::size_t distance = Distance(word, InTheirSpelling(each));
        if (distance < least) {
            nearest.clear();
            least = distance;
        }
        if (distance == least && distance <= kMostWrongLetters && distance < word.size()) {
            nearest.push_back(each);
        }
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

/// Whether a part of a word is meant to be another one: it may be the beginning of it, in which the
/// last letter of five does not count ("active" for "activated"), and a letter may be wrong in it,
/// of a long one two.
bool IsNearPart(const std::string& part, const std::string& other)
{
    constexpr std::size_t kShortestBeginning = 3;
    constexpr std::size_t kWithAnEnd = 5;
    const std::string beginning = part.substr(0, part.size() - (part.size() < kWithAnEnd ? 0 : 1));
    if (beginning.size() >= kShortestBeginning && other.rfind(beginning, 0) == 0) {
        return true;
    }
    constexpr std::size_t kShort = 4;
    constexpr std::size_t kLong = 8;
    if (part.size() < kShort || other.size() < kShort) {
        return part == other;
    }
    return Distance(part, other) <= (part.size() < kLong ? 1 : kMostWrongLetters);
}

/// The words that have every part of a word.
///
/// @param isSame whether two parts count as the same.
template <typename IsSame>
Words WithAllParts(const std::string& word, const Words& words, IsSame isSame)
{
    const std::set<std::string> parts = PartsOf(word);
    Words found;
    for (const std::string& each : words) {
        const std::set<std::string> others = PartsOf(InTheirSpelling(each));
        const auto isThere = [&](const std::string& part) {
            return std::any_of(others.begin(), others.end(),
                               [&](const std::string& other) { return isSame(part, other); });
        };
        if (std::all_of(parts.begin(), parts.end(), isThere)) {
            found.push_back(each);
        }
    }
    return found;
}

std::string Question(const Words& suggested)
{
    std::string text;
    for (std::size_t place = 0; place < std::min(suggested.size(), kMostSuggested); ++place) {
        text += (text.empty() ? "" : " or ") + ('"' + suggested[place] + '"');
    }
    return text.empty() ? text : "; did you mean " + text + "?";
}

std::string VerbOf(const std::string& command)
{
    return command.substr(0, command.find('-'));
}

/// The verb that takes back what a word's verb with "un" before it would do: "disengage" for
/// "unengage", which is nearer to "engage". Empty for all other words.
std::string OppositeMeant(const std::string& word)
{
    constexpr std::pair<const char*, const char*> kOpposites[] = {
        {"set", "clear"}, {"engage", "disengage"}, {"start", "stop"}};
    const std::string verb = VerbOf(word);
    if (verb.rfind("un", 0) != 0) {
        return {};
    }
    for (const auto& [done, takenBack] : kOpposites) {
        if (Distance(verb.substr(2), done) <= 1) {
            return takenBack;
        }
    }
    return {};
}

/// The verbs that a word may begin with: the one that it has, or the nearest. A word that may be a
/// misspelt getter is not a setter.
Words VerbsMeant(const std::string& word, const Words& commands)
{
    std::set<std::string> verbs;
    for (const std::string& command : commands) {
        if (command.find('-') != std::string::npos) {
            verbs.insert(VerbOf(command));
        }
    }
    if (verbs.count(VerbOf(word)) != 0) {
        return {VerbOf(word)};
    }
    const std::string opposite = OppositeMeant(word);
    if (!opposite.empty()) {
        return {opposite};
    }
    static const std::set<std::string> othersForClear{"remove", "delete", "drop"};
    if (othersForClear.count(VerbOf(word)) != 0) {
        return {"clear"};
    }
    for (const std::string& verb : verbs) {
        if (word.rfind(verb, 0) == 0) {
            return {verb};
        }
    }
    Words nearest = Nearest(VerbOf(word), {verbs.begin(), verbs.end()});
    if (std::find(nearest.begin(), nearest.end(), "get") != nearest.end()) {
        nearest.erase(std::remove(nearest.begin(), nearest.end(), "set"), nearest.end());
    }
    return nearest;
}

/// The word with the verb that it was meant to begin with: "get-nudge" for "gett-nudge" and for
/// "getnudge".
std::string WithVerb(const std::string& word, const Words& verbs)
{
    if (verbs.size() != 1 || VerbOf(word) == verbs.front()) {
        return word;
    }
    const std::size_t hyphen = word.find('-');
    if (hyphen != std::string::npos) {
        return verbs.front() + word.substr(hyphen);
    }
    return word.rfind(verbs.front(), 0) == 0
               ? verbs.front() + "-" + word.substr(verbs.front().size())
               : word;
}

} // namespace

std::string Suggestion(const std::string& given, const std::vector<std::string>& words)
{
    const std::string word = InTheirSpelling(given);
    Words suggested = Nearest(word, words);
    for (const std::string& each : WithAllParts(word, words, std::equal_to<>())) {
        if (std::find(suggested.begin(), suggested.end(), each) == suggested.end()) {
            suggested.push_back(each);
        }
    }
    return Question(suggested.empty() ? WithAllParts(word, words, IsNearPart) : suggested);
}

namespace {

/// What is suggested for a word among the commands that begin with one of these verbs; for one
/// without a hyphen, also among those that have none.
std::string SuggestionOfVerbs(const std::string& word, const Words& verbs, const Words& commands)
{
    const bool isPlain = word.find('-') == std::string::npos;
    Words possible;
    for (const std::string& command : commands) {
        const bool isOfVerb = std::find(verbs.begin(), verbs.end(), VerbOf(command)) != verbs.end();
        const bool isPlainToo = isPlain && command.find('-') == std::string::npos;
        if (isOfVerb || isPlainToo) {
            possible.push_back(command);
        }
    }
    const std::string suggestion = Suggestion(word, possible);
    return suggestion.empty() && !verbs.empty() ? Suggestion(WithVerb(word, verbs), possible)
                                                : suggestion;
}

} // namespace

std::string CommandSuggestion(const std::string& given, const std::vector<std::string>& commands)
{
    const std::string word = InTheirSpelling(given);
    const Words verbs = VerbsMeant(word, commands);
    const std::string ofVerbs = SuggestionOfVerbs(word, verbs, commands);
    if (!ofVerbs.empty()) {
        return ofVerbs;
    }
    // What asks for a setting begins with "get", what asks for the state with "is".
    if (verbs == Words{"is"} || verbs == Words{"get"}) {
        const Words other{verbs.front() == "is" ? "get" : "is"};
        return SuggestionOfVerbs(WithVerb(word, other), other, commands);
    }
    if (!verbs.empty()) {
        return {};
    }
    // Without a verb, or with it behind: whatever has all its parts, best as they are.
    const Words exact = WithAllParts(word, commands, std::equal_to<>());
    return Question(exact.empty() ? WithAllParts(word, commands, IsNearPart) : exact);
}
