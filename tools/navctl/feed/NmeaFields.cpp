#include "tools/navctl/feed/NmeaFields.h"

#include <array>
#include <cmath>

#include "platform/Utilities.h"
#include "tools/navctl/files/Angle.h"
#include "tools/navctl/files/CsvRow.h"

namespace {

// An international nautical mile is 1852 m.
constexpr double kKnot = 1852.0 / 3600.0;
constexpr double kKilometrePerHour = 1.0 / 3.6;

/// Thrown out of the reading of a field to ReadReport(), which gives it on as a problem.
struct BadField
{
    const char* what;
};

std::optional<double> FieldNumber(const std::string& text, const char* what, double lowest,
                                  double highest)
{
    if (text.empty())
        return std::nullopt;
    const std::optional<double> value = FiniteNumber(text);
    if (!value || *value < lowest || *value > highest)
        throw BadField{what};
    return value;
}

std::optional<int> WholeNumber(const std::string& text, const char* what)
{
    if (text.empty())
        return std::nullopt;
    int value = 0;
    if (Core::Utilities::ParseInt(text, value) == 0 || value < 0)
        throw BadField{what};
    return value;
}

/// Two digits of a text; they must be there.
int TwoDigits(const std::string& text, std::size_t place, const char* what)
{
    int value = 0;
    if (text.size() < place + 2 || text[place] == '-' || text[place] == '+' ||
        Core::Utilities::ParseInt(text.substr(place, 2), value) == 0)
        throw BadField{what};
    return value;
}

/// "hhmmss" or "hhmmss.sss" in milliseconds.
std::optional<std::int64_t> TimeOfDay(const std::string& text)
{
    if (text.empty())
        return std::nullopt;
    const int hours = TwoDigits(text, 0, "time");
    const int minutes = TwoDigits(text, 2, "time");
    TwoDigits(text, 4, "time");
    // 60 seconds: a leap second.
    const double seconds = *FieldNumber(text.substr(4), "time", 0.0, 60.999);
    if (hours > 23 || minutes > 59)
        throw BadField{"time"};
    return (hours * 60 + minutes) * 60000LL + std::llround(seconds * 1000.0);
}

/// "ddmmyy"; years from 80 on are those of the last century, as GPS is no older.
std::optional<std::int64_t> Day(const std::string& text)
{
    if (text.empty())
        return std::nullopt;
    const int year = TwoDigits(text, 4, "date");
    const auto days = DaysSince1970(year < 80 ? 2000 + year : 1900 + year,
                                    TwoDigits(text, 2, "date"), TwoDigits(text, 0, "date"));
    if (!days || text.size() != 6)
        throw BadField{"date"};
    return days;
}

/// "ddmm.mmm" and a hemisphere in degrees.
std::optional<double> Coordinate(const std::string& text, const std::string& hemisphere,
                                 const std::string& letters, double highest, const char* what)
{
    if (text.empty() && hemisphere.empty())
        return std::nullopt;
    if (text.empty() || hemisphere.size() != 1 || letters.find(hemisphere) == std::string::npos)
        throw BadField{what};
    const double number = *FieldNumber(text, what, 0.0, 18000.0);
    const double wholeDegrees = std::floor(number / 100.0);
    const double minutes = number - wholeDegrees * 100.0;
    const double degrees = wholeDegrees + minutes / 60.0;
    if (minutes >= 60.0 || degrees > highest)
        throw BadField{what};
    return hemisphere[0] == letters[1] ? -degrees : degrees;
}

std::optional<double> Direction(const std::string& text, const char* what)
{
    const std::optional<double> degrees = FieldNumber(text, what, 0.0, 360.0);
    return degrees ? std::optional(NormalisedHeading(Radians(*degrees))) : std::nullopt;
}

std::optional<double> Scaled(std::optional<double> value, double factor)
{
    return value ? std::optional(*value * factor) : std::nullopt;
}

void ReadPlace(const NmeaSentence& sentence, std::size_t first, NmeaReport& report)
{
    report.latitude =
        Coordinate(sentence.Field(first), sentence.Field(first + 1), "NS", 90.0, "latitude");
    report.longitude =
        Coordinate(sentence.Field(first + 2), sentence.Field(first + 3), "EW", 180.0, "longitude");
    if (report.latitude.has_value() != report.longitude.has_value())
        throw BadField{report.latitude ? "longitude" : "latitude"};
}

void ReadGga(const NmeaSentence& sentence, NmeaReport& report)
{
    report.timeOfDay = TimeOfDay(sentence.Field(0));
    ReadPlace(sentence, 1, report);
    report.fixQuality = WholeNumber(sentence.Field(5), "fix quality").value_or(0);
    report.satellites = WholeNumber(sentence.Field(6), "satellites");
    report.altitude = FieldNumber(sentence.Field(8), "altitude", -100000.0, 100000.0);
    report.geoidSeparation = FieldNumber(sentence.Field(10), "geoid separation", -1000.0, 1000.0);
}

/// The quality that GGA would tell for the mode of RMC and VTG.
int QualityOfMode(const std::string& mode, bool isValid)
{
    if (!isValid)
        return 0;
    static const std::array<std::pair<const char*, int>, 8> qualities{
        {{"D", 2}, {"P", 3}, {"R", 4}, {"F", 5}, {"E", 6}, {"M", 7}, {"S", 8}, {"N", 0}}};
    for (const auto& [letter, quality] : qualities) {
        if (mode == letter)
            return quality;
    }
    return 1;
}

void ReadRmc(const NmeaSentence& sentence, NmeaReport& report)
{
    report.timeOfDay = TimeOfDay(sentence.Field(0));
    const std::string& status = sentence.Field(1);
    if (status != "A" && status != "V")
        throw BadField{"status"};
    ReadPlace(sentence, 2, report);
    report.speed = Scaled(FieldNumber(sentence.Field(6), "speed", 0.0, 10000.0), kKnot);
    report.course = Direction(sentence.Field(7), "course");
    report.day = Day(sentence.Field(8));
    report.fixQuality = QualityOfMode(sentence.Field(11), status == "A");
}

void ReadVtg(const NmeaSentence& sentence, NmeaReport& report)
{
    const auto unit = [&sentence](std::size_t field, const char* letter) {
        if (!sentence.Field(field - 1).empty() && sentence.Field(field) != letter)
            throw BadField{"unit"};
    };
    unit(1, "T");
    unit(5, "N");
    unit(7, "K");
    report.course = Direction(sentence.Field(0), "course");
    const auto knots = FieldNumber(sentence.Field(4), "speed", 0.0, 10000.0);
    const auto kilometres = FieldNumber(sentence.Field(6), "speed", 0.0, 20000.0);
    report.speed = knots ? Scaled(knots, kKnot) : Scaled(kilometres, kKilometrePerHour);
}

void ReadHdt(const NmeaSentence& sentence, NmeaReport& report)
{
    if (sentence.Field(1) != "T")
        throw BadField{"unit"};
    report.heading = Direction(sentence.Field(0), "heading");
}

void ReadGst(const NmeaSentence& sentence, NmeaReport& report)
{
    report.timeOfDay = TimeOfDay(sentence.Field(0));
    report.sigmaNorth = FieldNumber(sentence.Field(5), "accuracy", 0.0, 1e9);
    report.sigmaEast = FieldNumber(sentence.Field(6), "accuracy", 0.0, 1e9);
    report.sigmaUp = FieldNumber(sentence.Field(7), "accuracy", 0.0, 1e9);
}

struct SentenceType
{
    const char* type;
    std::size_t leastFields;
    void (*read)(const NmeaSentence&, NmeaReport&);
};

// The least numbers of fields are those of the oldest receivers: later versions of the standard
// have only added fields at the end.
constexpr std::array<SentenceType, 5> kTypes{{{"GGA", 11, ReadGga},
                                              {"RMC", 9, ReadRmc},
                                              {"VTG", 8, ReadVtg},
                                              {"HDT", 2, ReadHdt},
                                              {"GST", 8, ReadGst}}};

const SentenceType* FindType(const std::string& type)
{
    for (const SentenceType& known : kTypes) {
        if (type == known.type)
            return &known;
    }
    return nullptr;
}

} // namespace

bool IsReported(const std::string& type)
{
    return FindType(type) != nullptr;
}

std::optional<NmeaReport> ReadReport(const NmeaSentence& sentence, std::string& problem)
{
    const SentenceType* type = FindType(sentence.type);
    if (type == nullptr) {
        problem = "sentence that is not read";
        return std::nullopt;
    }
    if (sentence.fields.size() < type->leastFields) {
        problem = sentence.type + " with too few fields";
        return std::nullopt;
    }
    NmeaReport report;
    try {
        type->read(sentence, report);
    } catch (const BadField& field) {
        problem = sentence.type + " with a bad " + field.what;
        return std::nullopt;
    }
    return report;
}

/// By Howard Hinnant, "chrono-Compatible Low-Level Date Algorithms", 2013: years that begin in
/// March, in eras of 400 years.
std::optional<std::int64_t> DaysSince1970(int year, int month, int day)
{
    static const std::array<int, 12> lengths{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1 || month < 1 || month > 12 || day < 1 ||
        day > lengths[static_cast<std::size_t>(month - 1)])
        return std::nullopt;
    const bool isLeapYear = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    if (month == 2 && day == 29 && !isLeapYear)
        return std::nullopt;
    const int yearFromMarch = month <= 2 ? year - 1 : year;
    const int era = yearFromMarch / 400;
    const int yearOfEra = yearFromMarch - era * 400;
    const int dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097LL + dayOfEra - 719468;
}
