#include "tools/fieldfiles/ReferenceSystem.h"

#include <cctype>

#include "tools/fieldfiles/FieldFile.h"

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

} // namespace

void CheckReferenceSystem(const std::string& wellKnownText)
{
    const std::string bare = Bare(wellKnownText.substr(0, 1U << 16));
    const std::string name = QuotedBehind(wellKnownText, 0);
    const bool isGeographic = bare.compare(0, 4, "geog") == 0;
    const bool isWorld = Has(Bare(name), "wgs84") || Has(Bare(name), "wgs1984");
    const bool isInDegrees = Has(bare, "degree") && !Has(bare, "grad\"");
    const bool isFromGreenwich = !Has(bare, "primem") || Has(bare, "primemgreenwich");
    if (isGeographic && isWorld && isInDegrees && isFromGreenwich) {
        return;
    }
    throw CFieldFileProblem("its reference system is \"" +
                            (name.empty() ? wellKnownText.substr(0, 80) : name.substr(0, 200)) +
                            "\"; only WGS 84 in degrees (EPSG:4326) is read");
}
