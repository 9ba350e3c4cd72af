#include "tools/navctl/feed/NmeaValues.h"

#include <array>
#include <charconv>
#include <cmath>

#include "tools/navctl/feed/NmeaDay.h"
#include "tools/navctl/files/Angle.h"

namespace {

/// A number without an exponent, perhaps with a sign; the whole text must be the number.
std::optional<double> DecimalNumber(std::string_view text)
{
    if (!text.empty() && text[0] == '+') {
        text.remove_prefix(1);
    }
    const std::size_t digit = !text.empty() && text[0] == '-' ? 1 : 0;
    double value = 0.0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    // The words for infinity and not a number are read too.
    const bool isNumber = digit < text.size() && (IsDigit(text[digit]) || text[digit] == '.');
    if (!isNumber || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

/// Two digits of a text; they must be there.
int TwoDigits(std::string_view text, std::size_t place, const char* what)
{
    if (text.size() < place + 2 || !IsDigit(text[place]) || !IsDigit(text[place + 1])) {
        throw BadField{what};
    }
    return (text[place] - '0') * 10 + (text[place + 1] - '0');
}

} // namespace

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

std::optional<double> FieldNumber(std::string_view text, const char* what, double lowest,
                                  double highest)
{
    if (text.empty()) {
        return std::nullopt;
    }
    const std::optional<double> value = DecimalNumber(text);
    if (!value || *value < lowest || *value > highest) {
        throw BadField{what};
    }
    return value;
}

std::optional<int> WholeNumber(std::string_view text, const char* what)
{
    if (text.empty()) {
        return std::nullopt;
    }
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0) {
        throw BadField{what};
    }
    return value;
}

// Some receivers end a day with hour 24.
std::optional<std::int64_t> TimeOfDay(std::string_view text)
{
    if (text.empty()) {
        return std::nullopt;
    }
    const int hours = TwoDigits(text, 0, "time");
    const int minutes = TwoDigits(text, 2, "time");
    TwoDigits(text, 4, "time");
    // 60 seconds: a leap second.
    const double seconds = *FieldNumber(text.substr(4), "time", 0.0, 60.999);
    if (hours > 24 || minutes > 59 || (hours == 24 && minutes > 0)) {
        throw BadField{"time"};
    }
    return (hours * 60 + minutes) * 60000LL % kMillisecondsADay + std::llround(seconds * 1000.0);
}

std::optional<std::int64_t> DayOfTime(std::optional<std::int64_t> day, std::string_view time)
{
    return day && time.substr(0, 2) == "24" ? *day + 1 : day;
}

// Years from 80 on are those of the last century, as GPS is no older.
std::optional<std::int64_t> Day(std::string_view text)
{
    if (text.empty()) {
        return std::nullopt;
    }
    const int year = TwoDigits(text, 4, "date");
    const auto days = DaysSince1970(year < 80 ? 2000 + year : 1900 + year,
                                    TwoDigits(text, 2, "date"), TwoDigits(text, 0, "date"));
    if (!days || text.size() != 6) {
        throw BadField{"date"};
    }
    return days;
}

std::optional<double> Coordinate(std::string_view text, std::string_view hemisphere,
                                 std::string_view letters, double highest, const char* what)
{
    if (text.empty() && hemisphere.empty()) {
        return std::nullopt;
    }
    if (text.empty() || hemisphere.size() != 1 || letters.find(hemisphere[0]) == letters.npos) {
        throw BadField{what};
    }
    const double number = *FieldNumber(text, what, 0.0, 18000.0);
    const double wholeDegrees = std::floor(number / 100.0);
    const double minutes = number - wholeDegrees * 100.0;
    const double degrees = wholeDegrees + minutes / 60.0;
    if (minutes >= 60.0 || degrees > highest) {
        throw BadField{what};
    }
    return hemisphere[0] == letters[1] ? -degrees : degrees;
}

std::optional<double> Direction(std::string_view text, const char* what)
{
    const std::optional<double> degrees = FieldNumber(text, what, 0.0, 360.0);
    return degrees ? std::optional(NormalisedHeading(Radians(*degrees))) : std::nullopt;
}

std::optional<double> Scaled(std::optional<double> value, double factor)
{
    return value ? std::optional(*value * factor) : std::nullopt;
}

std::optional<double> SidedDegrees(std::string_view text, std::string_view side, const char* what)
{
    const std::optional<double> degrees = FieldNumber(text, what, 0.0, 180.0);
    if (degrees && side != "E" && side != "W") {
        throw BadField{what};
    }
    return degrees && side == "W" ? -*degrees : degrees;
}

/// By Howard Hinnant, "chrono-Compatible Low-Level Date Algorithms", 2013: years that begin in
/// March, in eras of 400 years.
std::optional<std::int64_t> DaysSince1970(int year, int month, int day)
{
    static const std::array<int, 12> lengths{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1 || month < 1 || month > 12 || day < 1 ||
        day > lengths[static_cast<std::size_t>(month - 1)]) {
        return std::nullopt;
    }
    const bool isLeapYear = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    if (month == 2 && day == 29 && !isLeapYear) {
        return std::nullopt;
    }
    const int yearFromMarch = month <= 2 ? year - 1 : year;
    const int era = yearFromMarch / 400;
    const int yearOfEra = yearFromMarch - era * 400;
    const int dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097LL + dayOfEra - 719468;
}
