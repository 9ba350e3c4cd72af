#include "tools/navctl/operations/Argument.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>

#include "tools/navctl/Names.h"
#include "tools/navctl/wayline/WaylineContent.h"
#include "tools/navctl/wayline/WaylineText.h"

namespace {

const std::vector<std::string> kTrueWords{"on", "true", "yes", "1"};
const std::vector<std::string> kFalseWords{"off", "false", "no", "0"};

bool IsOneOf(const std::vector<std::string>& words, const std::string& word)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// Reads a number, whole; the locale and blanks do not count.
template <typename Value>
std::optional<ArgumentValue> ReadNumber(const std::string& word)
{
    const char* const begin = word.data() + (word.rfind('+', 0) == 0 ? 1 : 0);
    const char* const end = word.data() + word.size();
    Value value{};
    const auto result = std::from_chars(begin, end, value);
    if (result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    return value;
}

std::optional<ArgumentValue> ReadSwitch(const std::string& word)
{
    if (IsOneOf(kTrueWords, word))
        return true;
    return IsOneOf(kFalseWords, word) ? std::optional<ArgumentValue>(false) : std::nullopt;
}

std::optional<ArgumentValue> ReadTime(const std::string& word)
{
    if (word != "now")
        return ReadNumber<double>(word);
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

std::optional<ArgumentValue> ReadName(const NameTable& names, const std::string& word)
{
    for (const auto& [name, code] : names) {
        if (name == word)
            return code;
    }
    return ReadNumber<int>(word);
}

std::optional<ArgumentValue> ReadWaylines(const std::vector<std::string>& texts,
                                          std::string& problem)
{
    std::vector<Kestrove::WaylinePtr> waylines;
    for (const std::string& text : texts) {
        const std::optional<WaylineContent> content = ReadWaylineText(text, problem);
        if (!content)
            return std::nullopt;
        waylines.push_back(MakeWayline(*content));
    }
    return waylines;
}

std::optional<ArgumentValue> ReadWayline(const std::string& text, std::string& problem)
{
    const std::optional<WaylineContent> content = ReadWaylineText(text, problem);
    if (!content)
        return std::nullopt;
    return MakeWayline(*content);
}

std::string Joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

std::vector<std::string> NamesOf(const NameTable& table)
{
    std::vector<std::string> names;
    for (const auto& entry : table)
        names.push_back(entry.first);
    return names;
}

} // namespace

CArgument CArgument::Or(std::string value) const
{
    CArgument option = *this;
    option.otherwise = std::move(value);
    return option;
}

std::vector<std::string> CArgument::Words() const
{
    switch (type) {
    case EArgumentType::Switch:
        return {kTrueWords.front(), kFalseWords.front()};
    case EArgumentType::Kind:
        return NamesOf(WaylineKindNames());
    case EArgumentType::Parameter:
        return NamesOf(TuningParameterNames());
    case EArgumentType::Time:
        return {"now"};
    default:
        return {};
    }
}

std::string CArgument::Description() const
{
    std::string text = help;
    if (!unit.empty())
        text += ", " + unit;
    if (!range.empty())
        text += ", " + range;
    if (type == EArgumentType::Kind || type == EArgumentType::Parameter) {
        text += ": " + Joined(Words()) + ", or its number";
    } else if (type == EArgumentType::Switch && !isFlag) {
        text += ": on or off";
    } else if (type == EArgumentType::Time) {
        text += ", or now";
    }
    return text;
}

std::optional<ArgumentValue> CArgument::Read(const std::vector<std::string>& words,
                                             std::string& problem) const
{
    const std::string word = words.empty() ? otherwise : words.front();
    problem = name + ": \"" + word + "\" is not allowed, wanted is " + Description();
    switch (type) {
    case EArgumentType::Switch:
        return ReadSwitch(word);
    case EArgumentType::Integer:
        return ReadNumber<int>(word);
    case EArgumentType::Number:
        return ReadNumber<double>(word);
    case EArgumentType::Time:
        return ReadTime(word);
    case EArgumentType::Kind:
        return ReadName(WaylineKindNames(), word);
    case EArgumentType::Parameter:
        return ReadName(TuningParameterNames(), word);
    case EArgumentType::Wayline:
        return ReadWayline(word, problem);
    case EArgumentType::Waylines:
        return ReadWaylines(words, problem);
    }
    return std::nullopt;
}
