#include "tools/fieldfiles/ReferenceSystem.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <optional>
#include <vector>

#include "tools/fieldfiles/FieldFile.h"
#include "tools/fieldfiles/FileBytes.h"
#include "tools/fieldfiles/XmlFile.h"
#include "tools/navctl/files/CsvRow.h"

namespace {

/// What stands in the first quotes behind a place.
std::string QuotedBehind(const std::string& text, std::size_t place)
{
    const std::size_t begin = text.find('"', place);
    const std::size_t end = begin == std::string::npos ? begin : text.find('"', begin + 1);
    return end == std::string::npos ? std::string() : text.substr(begin + 1, end - begin - 1);
}

/// Letters and digits alone, the letters small.
std::string Bare(const std::string& text)
{
    std::string bare;
    for (const char letter : text) {
        if (std::isalnum(static_cast<unsigned char>(letter)) != 0) {
            bare += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
        }
    }
    return bare;
}

bool Has(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

/// A part of a well-known text: its name, and the numbers that follow it.
struct SystemPart
{
    std::string name;
    std::vector<double> numbers;
};

/// The numbers behind a place, up to what is not one.
std::vector<double> NumbersBehind(const std::string& text, std::size_t place)
{
    std::vector<double> numbers;
    while (place < text.size() && text[place] == ',') {
        const std::size_t end = text.find_first_of(",]()[", place + 1);
        const std::optional<double> number = FiniteNumber(
            Trimmed(text.substr(place + 1, end == std::string::npos ? end : end - place - 1)));
        if (!number) {
            break;
        }
        numbers.push_back(*number);
        place = end;
    }
    return numbers;
}

/// The parts of a kind, such as SPHEROID["WGS 84",6378137,298.257223563]; both sorts of brackets
/// are in use.
std::vector<SystemPart> PartsCalled(const std::string& lowerText, const char* word)
{
    std::vector<SystemPart> parts;
    const std::string wanted = word;
    for (std::size_t at = lowerText.find(wanted); at != std::string::npos;
         at = lowerText.find(wanted, at + 1)) {
        const bool isWhole =
            at == 0 || std::isalnum(static_cast<unsigned char>(lowerText[at - 1])) == 0;
        const std::size_t begin = lowerText.find_first_not_of(" \t\r\n[(", at + wanted.size());
        const bool isPart = isWhole && begin != std::string::npos && lowerText[begin] == '"' &&
                            begin > at + wanted.size();
        const std::size_t end = isPart ? lowerText.find('"', begin + 1) : std::string::npos;
        if (end != std::string::npos) {
            parts.push_back({Bare(lowerText.substr(begin + 1, end - begin - 1)),
                             NumbersBehind(lowerText, end + 1)});
        }
    }
    return parts;
}

/// The only part that has one of two words; nothing when there are several or none.
std::optional<SystemPart> OnlyPart(const std::string& lowerText, const char* word,
                                   const char* otherWord)
{
    std::vector<SystemPart> parts = PartsCalled(lowerText, word);
    for (SystemPart& part : PartsCalled(lowerText, otherWord)) {
        parts.push_back(std::move(part));
    }
    return parts.size() == 1 ? std::optional(parts.front()) : std::nullopt;
}

bool IsWorldDatum(const std::string& bareName)
{
    const std::string name = bareName.compare(0, 4, "dwgs") == 0 ? bareName.substr(1) : bareName;
    return name == "wgs84" || name == "wgs1984" || name == "worldgeodeticsystem1984" ||
           name == "worldgeodeticsystem1984ensemble" || name == "wgs1984ensemble";
}

/// Whether datum and ellipsoid are those of WGS 84, whatever the system is called.
bool IsOnWorldDatum(const std::string& lowerText)
{
    constexpr double kSemiMajor = 6378137.0;
    constexpr double kInverseFlattening = 298.257223563;
    const std::optional<SystemPart> datum = OnlyPart(lowerText, "datum", "ensemble");
    const std::optional<SystemPart> ellipsoid = OnlyPart(lowerText, "spheroid", "ellipsoid");
    return datum && IsWorldDatum(datum->name) && ellipsoid && ellipsoid->numbers.size() >= 2 &&
           std::abs(ellipsoid->numbers[0] - kSemiMajor) < 1e-3 &&
           std::abs(ellipsoid->numbers[1] - kInverseFlattening) < 5e-7;
}

/// Whether all angles are in degrees, and from Greenwich.
bool IsInDegreesFromGreenwich(const std::string& lowerText)
{
    constexpr double kRadiansInDegree = 0.017453292519943295;
    std::vector<SystemPart> units = PartsCalled(lowerText, "unit");
    for (SystemPart& unit : PartsCalled(lowerText, "angleunit")) {
        units.push_back(std::move(unit));
    }
    const auto isDegree = [](const SystemPart& unit) {
        return Has(unit.name, "degree") && !unit.numbers.empty() &&
               std::abs(unit.numbers[0] - kRadiansInDegree) < 1e-9;
    };
    const auto isGreenwich = [](const SystemPart& meridian) {
        return Has(meridian.name, "greenwich") && !meridian.numbers.empty() &&
               meridian.numbers[0] == 0.0;
    };
    std::vector<SystemPart> meridians = PartsCalled(lowerText, "primem");
    for (SystemPart& meridian : PartsCalled(lowerText, "primemeridian")) {
        meridians.push_back(std::move(meridian));
    }
    return !units.empty() && std::all_of(units.begin(), units.end(), isDegree) &&
           std::all_of(meridians.begin(), meridians.end(), isGreenwich);
}

} // namespace

void CheckReferenceSystem(const std::string& wellKnownText)
{
    const std::string lower = LowerCase(wellKnownText.substr(0, 1U << 16));
    const std::string name = QuotedBehind(wellKnownText, 0);
    const std::string bareName = Bare(name);
    const std::string bare = Bare(lower);
    const bool isGeographic = bare.compare(0, 4, "geog") == 0 ||
                              (bare.compare(0, 7, "geodcrs") == 0 && Has(bare, "csellipsoidal"));
    const bool isCalledWorld = Has(bareName, "wgs84") || Has(bareName, "wgs1984");
    if (isGeographic && isCalledWorld && IsOnWorldDatum(lower) && IsInDegreesFromGreenwich(lower)) {
        return;
    }
    const std::string words = name.empty() ? Trimmed(wellKnownText.substr(0, 80)) : name;
    throw CFieldFileProblem((words.empty()
                                 ? std::string("it does not say what its reference system is")
                                 : "its reference system is \"" + words.substr(0, 200) + "\"") +
                            "; only WGS 84 in degrees (EPSG:4326) is read");
}
