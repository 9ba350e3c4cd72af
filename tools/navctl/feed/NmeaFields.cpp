#include "tools/navctl/feed/NmeaFields.h"

#include <string_view>

#include "tools/navctl/feed/NmeaValues.h"
#include "tools/navctl/files/Angle.h"

namespace {

// An international nautical mile is 1852 m.
constexpr double kKnot = 1852.0 / 3600.0;
constexpr double kKilometrePerHour = 1.0 / 3.6;

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

/// The quality that GGA would give for a mode letter, the best first; of no fix, 0.
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
    report.day = DayOfTime(Day(sentence.Field(8)), sentence.Field(0));
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
        report.day = DayOfTime(report.day, sentence.Field(0));
    }
}

void ReadPashr(const NmeaSentence& sentence, const NmeaSigns& signs, NmeaReport& report)
{
    report.timeOfDay = TimeOfDay(sentence.Field(0));
    const auto heading = Direction(sentence.Field(1), "heading");
    // Without satellites and before its gyros are aligned a device knows no north; older ones do
    // not speak of either.
    if (sentence.Field(9) != "0" || sentence.Field(10) == "1") {
        report.heading = heading;
    }
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

/// True north is known only with the variation; an empty deviation is not one.
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

std::vector<std::string> NmeaTypeNames()
{
    std::vector<std::string> names;
    for (const SentenceType& type : kTypes) {
        names.emplace_back(type.name);
    }
    return names;
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
