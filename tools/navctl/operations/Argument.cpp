#include "tools/navctl/operations/Argument.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <iterator>
#include <limits>

#include "tools/navctl/Names.h"
#include "tools/navctl/Suggestion.h"
#include "tools/navctl/wayline/WaylineContent.h"
#include "tools/navctl/wayline/WaylineText.h"

namespace {

const std::vector<std::string> kTrueWords{"on", "true", "yes", "1"};
const std::vector<std::string> kFalseWords{"off", "false", "no", "0"};
/// The word for an accuracy that is not known.
const char* const kUnknown = "nan";
constexpr double kGreatestDouble = std::numeric_limits<double>::max();
constexpr auto kGreatestSingle = static_cast<double>(std::numeric_limits<float>::max());

bool IsOneOf(const std::vector<std::string>& words, const std::string& word)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// Reads a number, whole; the locale and blanks do not count.
template <typename Value>
std::optional<Value> ReadNumber(const std::string& word)
{
    const bool hasPlus = word.rfind('+', 0) == 0;
    if (hasPlus && word.find_first_of("+-", 1) == 1) {
        return std::nullopt;
    }
    const char* const begin = word.data() + (hasPlus ? 1 : 0);
    const char* const end = word.data() + word.size();
    Value value{};
    const auto result = std::from_chars(begin, end, value);
    if (result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return value;
}

/// Reads a finite number of at most this size.
std::optional<ArgumentValue> ReadFinite(const std::string& word, double greatest)
{
    const std::optional<double> value = ReadNumber<double>(word);
    const bool isGood = value && std::isfinite(*value) && std::abs(*value) <= greatest;
    return isGood ? std::optional<ArgumentValue>(*value) : std::nullopt;
}

std::optional<ArgumentValue> ReadAccuracy(const std::string& word)
{
    if (word == kUnknown) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const std::optional<double> value = ReadNumber<double>(word);
    const bool isGood = value && std::isfinite(*value) && *value >= 0.0;
    return isGood ? std::optional<ArgumentValue>(*value) : std::nullopt;
}

std::optional<ArgumentValue> ReadSwitch(const std::string& word)
{
    if (IsOneOf(kTrueWords, word)) {
        return true;
    }
    return IsOneOf(kFalseWords, word) ? std::optional<ArgumentValue>(false) : std::nullopt;
}

std::optional<ArgumentValue> ReadTime(const std::string& word)
{
    if (word != "now") {
        return ReadFinite(word, kGreatestDouble);
    }
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

std::optional<ArgumentValue> ReadName(const NameTable& names, const std::string& word)
{
    for (const auto& [name, code] : names) {
        if (name == word) {
            return code;
        }
    }
    return std::nullopt;
}

/// A kind of wayline by name or code. Services may have more kinds than there are names for.
std::optional<ArgumentValue> ReadKind(const std::string& word)
{
    const std::optional<ArgumentValue> named = ReadName(WaylineKindNames(), word);
    return named ? named : ReadNumber<int>(word);
}

/// A tuning parameter by name or number; the interface has only those.
std::optional<ArgumentValue> ReadParameter(const std::string& word)
{
    const NameTable& names = TuningParameterNames();
    const std::optional<ArgumentValue> named = ReadName(names, word);
    const std::optional<int> number = ReadNumber<int>(word);
    const bool isOne =
        number && std::any_of(names.begin(), names.end(),
                              [&number](const auto& entry) { return entry.second == *number; });
    return isOne ? std::optional<ArgumentValue>(*number) : named;
}

std::optional<ArgumentValue> ReadWaylines(const std::vector<std::string>& texts,
                                          std::string& problem)
{
    std::vector<Kestrove::WaylinePtr> waylines;
    for (const std::string& text : texts) {
        const std::optional<WaylineContent> content = ReadWaylineText(text, problem);
        if (!content) {
            if (texts.size() > 1 && text.find(' ') == std::string::npos) {
                problem += "; each text form is one word of the shell, in quotes";
            }
            return std::nullopt;
        }
        waylines.push_back(MakeWayline(*content));
    }
    return waylines;
}

std::optional<ArgumentValue> ReadWayline(const std::string& text, std::string& problem)
{
    const std::optional<WaylineContent> content = ReadWaylineText(text, problem);
    if (!content) {
        return std::nullopt;
    }
    return MakeWayline(*content);
}

/// What a number has to be; empty for what the description says.
std::string TypeWords(EArgumentType type)
{
    switch (type) {
    case EArgumentType::Integer:
        return "a whole number: ";
    case EArgumentType::Number:
    case EArgumentType::Single:
    case EArgumentType::Accuracy:
    case EArgumentType::Time:
        return "a number: ";
    default:
        return {};
    }
}

std::string Joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

/// The part of a table that a service can take: its other entry, the empty kind, stands for a line
/// that is not there.
NameTable Offered(const NameTable& table)
{
    NameTable offered;
    std::copy_if(table.begin(), table.end(), std::back_inserter(offered),
                 [](const auto& entry) { return entry.second >= 0; });
    return offered;
}

std::vector<std::string> NamesOf(const NameTable& table)
{
    std::vector<std::string> names;
    for (const auto& entry : Offered(table)) {
        names.push_back(entry.first);
    }
    return names;
}

std::string InOneText(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

/// Whether a number that is too near to 0 for a double, or too large, is the former.
bool IsTiny(const std::string& number)
{
    const std::size_t exponent = number.find_first_of("eE");
    if (exponent != std::string::npos) {
        return number.compare(exponent + 1, 1, "-") == 0;
    }
    return number.find_first_of("123456789") > number.find('.');
}

/// Whether a number is written well, but lies outside what the type can hold.
template <typename Value>
bool IsOutsideOf(const std::string& word)
{
    Value value{};
    const char* const end = word.data() + word.size();
    const auto result =
        std::from_chars(word.data() + (word.rfind('+', 0) == 0 ? 1 : 0), end, value);
    return result.ec == std::errc::result_out_of_range && result.ptr == end;
}

/// What is wrong with a word that no argument of the type can be, in words.
std::string FaultOf(EArgumentType type, const std::string& word)
{
    if (type == EArgumentType::Integer && IsOutsideOf<int>(word)) {
        return "is too large: whole numbers have 32 bits";
    }
    if (type == EArgumentType::Integer || TypeWords(type).empty()) {
        return "is not allowed";
    }
    const bool isOutside = IsOutsideOf<double>(word);
    if (isOutside && IsTiny(word)) {
        return "is too near to 0 to be held";
    }
    if (type == EArgumentType::Single && (isOutside || ReadFinite(word, kGreatestDouble))) {
        return "is too large: numbers of single precision go up to 3.4e38 in size";
    }
    return isOutside ? "is too large" : "is not allowed";
}

} // namespace

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
    case EArgumentType::Accuracy:
        return {kUnknown};
    default:
        return {};
    }
}

std::string CArgument::Description() const
{
    std::string text = help;
    if (!unit.empty()) {
        text += ", " + unit;
    }
    if (!range.empty()) {
        text += ", " + range;
    }
    if (type == EArgumentType::Kind || type == EArgumentType::Parameter) {
        const NameTable names =
            Offered(type == EArgumentType::Kind ? WaylineKindNames() : TuningParameterNames());
        text += ": " + Joined(Words()) + ", or its number, " +
                std::to_string(names.front().second) + " to " + std::to_string(names.back().second);
    } else if (type == EArgumentType::Switch && !isFlag) {
        text += ": on or off";
    } else if (type == EArgumentType::Time) {
        text += ", or now";
    } else if (type == EArgumentType::Accuracy) {
        text += ", not negative, or " + std::string(kUnknown) + " where it is not known";
    }
    return text;
}

std::optional<ArgumentValue> CArgument::Read(const std::vector<std::string>& words,
                                             std::string& problem) const
{
    const std::string word = words.empty() ? otherwise : words.front();
    problem = name + ": \"" + word + "\" " + FaultOf(type, word) + ", wanted is " +
              TypeWords(type) + Description() + Suggestion(word, Words());
    switch (type) {
    case EArgumentType::Switch:
        return ReadSwitch(word);
    case EArgumentType::Integer:
        return ReadNumber<int>(word);
    case EArgumentType::Number:
        return ReadFinite(word, kGreatestDouble);
    case EArgumentType::Single:
        return ReadFinite(word, kGreatestSingle);
    case EArgumentType::Accuracy:
        return ReadAccuracy(word);
    case EArgumentType::Time:
        return ReadTime(word);
    case EArgumentType::Kind:
        return ReadKind(word);
    case EArgumentType::Parameter:
        return ReadParameter(word);
    case EArgumentType::Wayline:
        return ReadWayline(InOneText(words), problem);
    case EArgumentType::Waylines:
        return ReadWaylines(words, problem);
    }
    return std::nullopt;
}
