#include "tools/fieldfiles/WellKnownBinary.h"

#include <algorithm>
#include <cstring>

#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/FileLimits.h"

namespace {

using Places = std::vector<FieldPlace>;

constexpr std::uint32_t kLineString = 2;
constexpr std::uint32_t kPolygon = 3;
constexpr std::uint32_t kMultiLineString = 5;
constexpr std::uint32_t kMultiPolygon = 6;
constexpr std::int32_t kWorldSystem = 4326;

/// Takes values from the front of bytes.
class CBinaryInput
{
public:
    explicit CBinaryInput(std::string_view bytes) : m_bytes(bytes) {}

    void SetLittleEndian(bool isLittleEndian) { m_isLittleEndian = isLittleEndian; }
    std::size_t Left() const { return m_bytes.size() - m_place; }

    std::uint8_t Byte() { return static_cast<std::uint8_t>(Value(1)); }
    std::uint32_t Word() { return static_cast<std::uint32_t>(Value(4)); }

    double Double()
    {
        const std::uint64_t bits = Value(8);
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    /// Counts places before they are made.
    void TakePlaces(std::size_t count)
    {
        m_places += count;
        if (m_places > FileLimits::kPlaces) {
            throw CFieldFileTooLarge("places");
        }
    }

    void Skip(std::size_t count)
    {
        Need(count);
        m_place += count;
    }

private:
    void Need(std::size_t count) const
    {
        if (count > Left()) {
            throw CFieldFileProblem("a geometry ends before its end");
        }
    }

    std::uint64_t Value(std::size_t size)
    {
        Need(size);
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t from = m_place + (m_isLittleEndian ? size - 1 - i : i);
            value = value << 8U | static_cast<unsigned char>(m_bytes[from]);
        }
        m_place += size;
        return value;
    }

    std::string_view m_bytes;
    std::size_t m_place = 0;
    std::size_t m_places = 0;
    bool m_isLittleEndian = true;
};

/// What a geometry begins with.
struct GeometryHead
{
    std::uint32_t type = 0;
    bool hasHeight = false;
    bool hasMeasure = false;

    std::size_t PlaceBytes() const { return 16U + (hasHeight ? 8U : 0U) + (hasMeasure ? 8U : 0U); }
};

GeometryHead ReadHead(CBinaryInput& input)
{
    input.SetLittleEndian(input.Byte() == 1);
    const std::uint32_t code = input.Word();
    GeometryHead head;
    // ISO counts in thousands, others set the uppermost bits.
    const std::uint32_t iso = (code & 0xFFFFU) / 1000U;
    head.type = (code & 0xFFFFU) % 1000U;
    head.hasHeight = iso == 1 || iso == 3 || (code & 0x80000000U) != 0;
    head.hasMeasure = iso == 2 || iso == 3 || (code & 0x40000000U) != 0;
    return head;
}

std::uint32_t ReadCount(CBinaryInput& input, std::size_t leastBytes)
{
    const std::uint32_t count = input.Word();
    if (count > input.Left() / leastBytes) {
        throw CFieldFileProblem("a geometry announces more than it has");
    }
    return count;
}

Places ReadPlaces(CBinaryInput& input, const GeometryHead& head)
{
    const std::uint32_t count = ReadCount(input, head.PlaceBytes());
    input.TakePlaces(count);
    Places places(count);
    for (FieldPlace& place : places) {
        const double longitude = input.Double();
        const double latitude = input.Double();
        const double height = head.hasHeight ? input.Double() : 0.0;
        if (head.hasMeasure) {
            input.Double();
        }
        place = CheckedPlace(latitude, longitude,
                             head.hasHeight ? std::optional(height) : std::nullopt);
    }
    return places;
}

std::vector<Places> ReadRings(CBinaryInput& input, const GeometryHead& head)
{
    std::vector<Places> rings;
    for (std::uint32_t left = ReadCount(input, 4); left > 0; --left) {
        rings.push_back(ReadPlaces(input, head));
    }
    return rings;
}

void ReadSingle(CBinaryInput& input, const GeometryHead& head, MapFeature& feature)
{
    feature.isArea = head.type == kPolygon;
    if (head.type == kLineString) {
        feature.parts.emplace_back();
        feature.parts.back().push_back(ReadPlaces(input, head));
    } else if (feature.isArea) {
        feature.parts.push_back(ReadRings(input, head));
    } else {
        throw CFieldFileProblem("a geometry has a part of another type");
    }
}

/// How many bytes the envelope of a geometry has, by its code.
std::size_t EnvelopeBytes(unsigned code)
{
    constexpr std::size_t kBytes[] = {0, 32, 48, 48, 64};
    if (code >= std::size(kBytes)) {
        throw CFieldFileProblem("a geometry has an envelope of an unknown form");
    }
    return kBytes[code];
}

void Append(std::string& bytes, const void* value, std::size_t size)
{
    bytes.append(static_cast<const char*>(value), size); // of a little-endian machine
}

template <typename Value>
void Append(std::string& bytes, Value value)
{
    Append(bytes, &value, sizeof value);
}

void AppendPlaces(std::string& bytes, const Places& places, bool hasHeights)
{
    Append(bytes, static_cast<std::uint32_t>(places.size()));
    for (const FieldPlace& place : places) {
        Append(bytes, place.longitude);
        Append(bytes, place.latitude);
        if (hasHeights) {
            Append(bytes, *place.height);
        }
    }
}

} // namespace

void ReadGeoPackageGeometry(std::string_view blob, MapFeature& feature)
{
    CBinaryInput input(blob);
    if (input.Byte() != 'G' || input.Byte() != 'P') {
        throw CFieldFileProblem("a geometry is not one of a GeoPackage");
    }
    input.Skip(1); // the version
    const unsigned flags = input.Byte();
    input.Skip(4); // the reference system, which the table gives
    input.Skip(EnvelopeBytes(flags >> 1U & 7U));
    if ((flags & 0x10U) != 0) {
        return;
    }
    const GeometryHead head = ReadHead(input);
    if (head.type == kLineString || head.type == kPolygon) {
        return ReadSingle(input, head, feature);
    }
    if (head.type != kMultiLineString && head.type != kMultiPolygon) {
        return;
    }
    constexpr std::size_t kLeastBytes = 9;
    for (std::uint32_t left = ReadCount(input, kLeastBytes); left > 0; --left) {
        const GeometryHead part = ReadHead(input);
        ReadSingle(input, part, feature);
    }
}

std::string GeoPackageGeometry(const MapFeature& feature)
{
    const bool hasHeights = HasHeights(feature);
    const std::vector<Places>& rings = feature.parts.front();
    double west = 180.0, east = -180.0, south = 90.0, north = -90.0;
    for (const FieldPlace& place : rings.front()) {
        west = std::min(west, place.longitude);
        east = std::max(east, place.longitude);
        south = std::min(south, place.latitude);
        north = std::max(north, place.latitude);
    }
    std::string bytes("GP\0\x03", 4); // little-endian, with an envelope in two dimensions
    Append(bytes, kWorldSystem);
    for (const double limit : {west, east, south, north}) {
        Append(bytes, limit);
    }
    Append(bytes, std::uint8_t{1});
    Append(bytes, (feature.isArea ? kPolygon : kLineString) + (hasHeights ? 1000U : 0U));
    if (feature.isArea) {
        Append(bytes, static_cast<std::uint32_t>(rings.size()));
    }
    for (const Places& ring : rings) {
        AppendPlaces(bytes, ring, hasHeights);
    }
    return bytes;
}
