#include "tools/navctl/feed/NmeaFields.h"

#include <charconv>
#include <cmath>
#include <string_view>

#include "tools/navctl/files/Angle.h"

namespace {

// An international nautical mile is 1852 m.
constexpr double kKnot = 1852.0 / 3600.0;
constexpr double kKilometrePerHour = 1.0 / 3.6;
constexpr std::int64_t kMillisecondsADay = 86400000;

/// Thrown out of the reading of a field to ReadReport(), which gives it on as a problem.
struct BadField
{
    const char* what;
};

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

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

/// Two digits of a text; they must be there.
int TwoDigits(std::string_view text, std::size_t place, const char* what)
{
    if (text.size() < place + 2 || !IsDigit(text[place]) || !IsDigit(text[place + 1])) {
        throw BadField{what};
    }
    return (text[place] - '0') * 10 + (text[place + 1] - '0');
}

/// "hhmmss" or "hhmmss.sss" in milliseconds. Some receivers end a day with hour 24.
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

/// "ddmmyy"; years from 80 on are those of the last century, as GPS is no older.
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

/// "ddmm.mmm" and a hemisphere in degrees.
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

/// The number with the sign of its side: "E" or "W".
std::optional<double> SidedDegrees(std::string_view text, std::string_view side, const char* what)
{
    const std::optional<double> degrees = FieldNumber(text, what, 0.0, 180.0);
    if (degrees && side != "E" && side != "W") {
        throw BadField{what};
    }
    return degrees && side == "W" ? -*degrees : degrees;
}

void ReadPlace(const NmeaSentence& sentence, std::size_t first, NmeaReport& report)
{
    report.latitude =
        Coordinate(sentence.Field(first), sentence.Field(first + 1), "NS", 90.0, "latitude");
    report.longitude =
        Coordinate(sentence.Field(first + 2), sentence.Field(first + 3), "EW", 180.0, "longitude");
    if (report.latitude.has_value() != report.longitude.has_value()) {
        throw BadField{report.latitude ? "longitude" : "latitude"};
    }
}

void ReadHeight(const NmeaSentence& sentence, std::size_t first, std::size_t separation,
                NmeaReport& report)
{
    report.altitude = FieldNumber(sentence.Field(first), "altitude", -100000.0, 100000.0);
    report.geoidSeparation =
        FieldNumber(sentence.Field(separation), "geoid separation", -1000.0, 1000.0);
}

void ReadGga(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    report.timeOfDay = TimeOfDay(sentence.Field(0));
    ReadPlace(sentence, 1, report);
    report.fixQuality = WholeNumber(sentence.Field(5), "fix quality").value_or(0);
    report.satellites = WholeNumber(sentence.Field(6), "satellites");
    ReadHeight(sentence, 8, 10, report);
}

/// The quality that GGA would tell for a mode letter, the best first; of no fix, 0.
int QualityOfModes(std::string_view modes)
{
    constexpr std::array<std::pair<char, int>, 8> kQualities{
        {{'R', 4}, {'F', 5}, {'P', 3}, {'D', 2}, {'A', 1}, {'E', 6}, {'M', 7}, {'S', 8}}};
    for (const auto& [letter, quality] : kQualities) {
        if (modes.find(letter) != std::string_view::npos) {
            return quality;
        }
    }
    return modes.find('N') != std::string_view::npos ? 0 : 1;
}

void ReadGns(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    report.timeOfDay = TimeOfDay(sentence.Field(0));
    ReadPlace(sentence, 1, report);
    const std::string_view state = sentence.Field(12);
    const bool isUsable = !sentence.Field(5).empty() && state != "U" && state != "V";
    report.fixQuality = isUsable ? QualityOfModes(sentence.Field(5)) : 0;
    report.satellites = WholeNumber(sentence.Field(6), "satellites");
    ReadHeight(sentence, 8, 9, report);
}

int QualityOfStatus(std::string_view status, std::string_view mode)
{
    if (status != "A" && status != "V") {
        throw BadField{"status"};
    }
    return status == "A" ? QualityOfModes(mode) : 0;
}

void ReadRmc(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    report.timeOfDay = TimeOfDay(sentence.Field(0));
    report.fixQuality = QualityOfStatus(sentence.Field(1), sentence.Field(11));
    ReadPlace(sentence, 2, report);
    report.speed = Scaled(FieldNumber(sentence.Field(6), "speed", 0.0, 10000.0), kKnot);
    report.course = Direction(sentence.Field(7), "course");
    report.day = Day(sentence.Field(8));
}

void ReadGll(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    ReadPlace(sentence, 0, report);
    report.timeOfDay = TimeOfDay(sentence.Field(4));
    report.fixQuality = QualityOfStatus(sentence.Field(5), sentence.Field(6));
}

void ReadGst(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    report.timeOfDay = TimeOfDay(sentence.Field(0));
    report.sigmaNorth = FieldNumber(sentence.Field(5), "accuracy", 0.0, 1e9);
    report.sigmaEast = FieldNumber(sentence.Field(6), "accuracy", 0.0, 1e9);
    report.sigmaUp = FieldNumber(sentence.Field(7), "accuracy", 0.0, 1e9);
}

void ReadGbs(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    report.timeOfDay = TimeOfDay(sentence.Field(0));
}

void ReadZda(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    report.timeOfDay = TimeOfDay(sentence.Field(0));
    const auto day = WholeNumber(sentence.Field(1), "date");
    const auto month = WholeNumber(sentence.Field(2), "date");
    const auto year = WholeNumber(sentence.Field(3), "date");
    if (day || month || year) {
        report.day = DaysSince1970(year.value_or(0), month.value_or(0), day.value_or(0));
        if (!report.day || *year > 9999) {
            throw BadField{"date"};
        }
    }
}

void ReadPashr(const NmeaSentence& sentence, const NmeaSigns& signs, NmeaReport& report)
{
    report.timeOfDay = TimeOfDay(sentence.Field(0));
    report.heading = Direction(sentence.Field(1), "heading");
    const auto angle = [&sentence](std::size_t field, const char* what, bool isInverted) {
        const auto degrees = FieldNumber(sentence.Field(field), what, -180.0, 180.0);
        return Scaled(degrees, Radians(isInverted ? -1.0 : 1.0));
    };
    report.roll = angle(3, "roll", signs.invertRoll);
    report.pitch = angle(4, "pitch", signs.invertPitch);
}

void ReadVtg(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    const auto unit = [&sentence](std::size_t field, std::string_view letter) {
        if (!sentence.Field(field - 1).empty() && sentence.Field(field) != letter) {
            throw BadField{"unit"};
        }
    };
    // The old form has numbers alone.
    const bool isOld = sentence.fieldCount < 8 && sentence.Field(1) != "T";
    if (!isOld && sentence.fieldCount < 8) {
        throw BadField{"number of fields"};
    }
    if (!isOld) {
        unit(1, "T");
        unit(5, "N");
        unit(7, "K");
    }
    const auto course = Direction(sentence.Field(0), "course");
    const auto knots = FieldNumber(sentence.Field(isOld ? 2 : 4), "speed", 0.0, 10000.0);
    const auto kilometres = FieldNumber(sentence.Field(isOld ? 3 : 6), "speed", 0.0, 20000.0);
    // Without a fix, and reckoned on, neither is measured.
    if (sentence.Field(8) != "N" && sentence.Field(8) != "E") {
        report.course = course;
        report.speed = knots ? Scaled(knots, kKnot) : Scaled(kilometres, kKilometrePerHour);
    }
}

void ReadHdt(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    if (sentence.Field(1) != "T") {
        throw BadField{"unit"};
    }
    report.heading = Direction(sentence.Field(0), "heading");
}

void ReadThs(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    const auto heading = Direction(sentence.Field(0), "heading");
    if (sentence.Field(1) != "V") {
        report.heading = heading;
    }
}

/// True north is known only with the variation; an empty deviation is none.
void ReadHdg(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    const auto sensor = FieldNumber(sentence.Field(0), "heading", 0.0, 360.0);
    const auto deviation = SidedDegrees(sentence.Field(1), sentence.Field(2), "deviation");
    const auto variation = SidedDegrees(sentence.Field(3), sentence.Field(4), "variation");
    if (sensor && variation) {
        report.heading = NormalisedHeading(Radians(*sensor + deviation.value_or(0.0) + *variation));
    }
}

void ReadRot(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    const auto degreesAMinute = FieldNumber(sentence.Field(0), "rate of turn", -1e5, 1e5);
    if (sentence.Field(1) == "A") {
        report.yawRate = Scaled(degreesAMinute, Radians(1.0 / 60.0));
    }
}

void ReadGsa(const NmeaSentence& sentence, const NmeaSigns&, NmeaReport& report)
{
    for (std::size_t i = 0; i < report.satelliteIds.size(); ++i) {
        const auto id = WholeNumber(sentence.Field(2 + i), "satellite").value_or(0);
        report.satelliteIds[i] = static_cast<std::uint16_t>(id);
    }
    const std::string_view system = sentence.Field(17);
    if (system.size() == 1 && IsDigit(system[0])) {
        report.systemId = static_cast<std::uint16_t>(system[0] - '0');
    }
}

struct SentenceType
{
    const char* name;
    std::size_t leastFields;
    void (*read)(const NmeaSentence&, const NmeaSigns&, NmeaReport&);
};

// In the order of ENmeaType. The least numbers of fields are those of the oldest receivers: later
// versions of the standard have only added fields at the end.
constexpr std::array<SentenceType, 14> kTypes{{{"GGA", 11, ReadGga},
                                               {"GNS", 10, ReadGns},
                                               {"RMC", 9, ReadRmc},
                                               {"GLL", 6, ReadGll},
                                               {"GST", 8, ReadGst},
                                               {"GBS", 1, ReadGbs},
                                               {"ZDA", 4, ReadZda},
                                               {"PASHR", 6, ReadPashr},
                                               {"VTG", 4, ReadVtg},
                                               {"HDT", 2, ReadHdt},
                                               {"THS", 2, ReadThs},
                                               {"HDG", 5, ReadHdg},
                                               {"ROT", 2, ReadRot},
                                               {"GSA", 14, ReadGsa}}};

} // namespace

ENmeaType TypeOf(const NmeaSentence& sentence)
{
    if (sentence.talker == "P") {
        // Under the same address come other sentences, whose fields are words.
        const bool isAttitude = sentence.type == "ASHR" && sentence.Field(2) == "T";
        return isAttitude ? ENmeaType::Pashr : ENmeaType::Other;
    }
    return TypeByName(sentence.type).value_or(ENmeaType::Other);
}

std::optional<ENmeaType> TypeByName(std::string_view name)
{
    for (std::size_t i = 0; i < kTypes.size(); ++i) {
        if (name == kTypes[i].name) {
            return static_cast<ENmeaType>(i);
        }
    }
    return std::nullopt;
}

const char* NameOf(ENmeaType type)
{
    return type == ENmeaType::Other ? "other" : kTypes[static_cast<std::size_t>(type)].name;
}

bool HasTime(ENmeaType type)
{
    return type <= ENmeaType::Pashr;
}

std::string ReadReport(const NmeaSentence& sentence, ENmeaType type, const NmeaSigns& signs,
                       NmeaReport& report)
{
    const SentenceType& kind = kTypes.at(static_cast<std::size_t>(type));
    if (sentence.fieldCount < kind.leastFields) {
        return std::string(kind.name) + " with too few fields";
    }
    try {
        kind.read(sentence, signs, report);
    } catch (const BadField& field) {
        return std::string(kind.name) + " with a bad " + field.what;
    }
    return {};
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
