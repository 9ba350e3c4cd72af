#include "tools/fieldfiles/MapFeature.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "tools/fieldfiles/DateLine.h"
#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/FileLimits.h"
#include "tools/fieldfiles/XmlFile.h"
#include "tools/navctl/Names.h"

namespace {

using Places = std::vector<FieldPlace>;

/// The three places of a circle whose outline, all the way round, has more.
Places OfCircle(Places places)
{
    if (places.size() > 3 && IsSamePlace(places.front(), places.back())) {
        places.pop_back();
    }
    if (places.size() < 3) {
        throw CFieldFileProblem("a circle needs three points");
    }
    const std::size_t third = places.size() / 3;
    return {places[0], places[third], places[2 * third]};
}

/// The kind of a word; a word of another program's is not one; it counts where no kind was asked
/// for.
Kestrove::EWaylineType KindCalled(const std::string& word,
                                  const std::optional<Kestrove::EWaylineType>& askedFor)
{
    for (const auto& [name, code] : WaylineKindNames()) {
        if (word == name && code != Kestrove::EWaylineTypeEmpty) {
            return static_cast<Kestrove::EWaylineType>(code);
        }
    }
    if (askedFor) {
        return *askedFor;
    }
    throw CFieldFileProblem("\"" + word.substr(0, 40) +
                            "\" is no kind of wayline; --kind says what such lines are");
}

double HeadingAlong(const Places& places)
{
    if (places.size() < 2) {
        throw CFieldFileProblem("an A-plus-heading line needs a heading");
    }
    const CLocalFrame frame = FrameAt(places[0]);
    const WaylinePoint ahead = frame.ToLocal(PlaceOf(places[1], frame.Origin().height));
    constexpr double kDegreesInRadian = 57.29577951308232;
    const double degrees = std::atan2(ahead.x, ahead.y) * kDegreesInRadian;
    return degrees < 0.0 ? degrees + 360.0 : degrees;
}

FieldLine LineOf(Kestrove::EWaylineType kind, Places places,
                 const std::optional<double>& headingDegrees)
{
    if (places.empty()) {
        throw CFieldFileProblem("it has no points");
    }
    FieldLine line;
    line.kind = kind;
    switch (kind) {
    case Kestrove::EWaylineTypeAB:
        if (places.size() < 2 || IsSamePlace(places.front(), places.back())) {
            throw CFieldFileProblem("an A-B line needs two points apart");
        }
        line.places = {places.front(), places.back()};
        break;
    case Kestrove::EWaylineTypeAHeading:
        line.headingDegrees = headingDegrees ? *headingDegrees : HeadingAlong(places);
        line.places = {places.at(0)};
        break;
    case Kestrove::EWaylineTypeCircle:
        line.places = OfCircle(std::move(places));
        break;
    case Kestrove::EWaylineTypeSpline:
    case Kestrove::EWaylineTypeABCurve:
        if (places.size() < 2) {
            throw CFieldFileProblem("a line needs two points");
        }
        line.places = std::move(places);
        break;
    default:
        throw CFieldFileProblem("a " + std::string(KindTitle(kind)) + " has no points");
    }
    return line;
}

/// A ring as maps have it: in the direction that is asked for, and closed.
Places Closed(const Places& ring, bool isCounterClockwise)
{
    Places closed = ring;
    if (!closed.empty() && IsCounterClockwise(ring) != isCounterClockwise) {
        std::reverse(closed.begin(), closed.end());
    }
    if (!closed.empty()) {
        closed.push_back(closed.front());
    }
    return closed;
}

std::string NameFor(const MapFeature& feature)
{
    return feature.name.empty() ? "without a name" : feature.name;
}

} // namespace

bool HasHeights(const MapFeature& feature)
{
    for (const std::vector<Places>& part : feature.parts) {
        for (const Places& places : part) {
            if (std::any_of(places.begin(), places.end(),
                            [](const FieldPlace& place) { return !place.height; })) {
                return false;
            }
        }
    }
    return true;
}

void CFeatureReading::Count(std::size_t places)
{
    m_places += places;
    if (m_places > FileLimits::kPlaces) {
        throw CFieldFileTooLarge("places");
    }
    if (++m_features > FileLimits::kFeatures) {
        throw CFieldFileTooLarge("lines and boundaries");
    }
}

void CFeatureReading::Add(MapFeature feature, const std::string& layer)
{
    DropFalseHeights(feature);
    for (const std::vector<Places>& part : feature.parts) {
        for (const Places& places : part) {
            Count(places.size());
        }
    }
    Field& field = file.FieldOf(feature.field.empty() ? layer : feature.field);
    if (feature.isArea) {
        return AddAreas(feature, field);
    }
    try {
        AddLine(feature, field);
    } catch (const CFieldFileProblem& problem) {
        file.Refuse(field.name, NameFor(feature), problem.what());
    }
}

void CFeatureReading::DropFalseHeights(MapFeature& feature)
{
    for (const std::vector<Places>& part : feature.parts) {
        for (const Places& places : part) {
            for (const FieldPlace& place : places) {
                if (place.height.value_or(0.0) != 0.0) {
                    return;
                }
            }
        }
    }
    for (std::vector<Places>& part : feature.parts) {
        for (Places& places : part) {
            for (FieldPlace& place : places) {
                place.height.reset();
            }
        }
    }
}

void CFeatureReading::AddLine(MapFeature& feature, Field& field)
{
    std::vector<Places> lines = Joined(std::move(feature.parts));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        Kestrove::EWaylineType kind =
            lines[i].size() == 2 ? Kestrove::EWaylineTypeAB : Kestrove::EWaylineTypeABCurve;
        if (!feature.kind.empty()) {
            kind = KindCalled(feature.kind, m_kind);
        } else if (m_kind) {
            kind = *m_kind;
        }
        FieldLine line = LineOf(kind, std::move(lines[i]), feature.headingDegrees);
        line.name = feature.name;
        if (lines.size() > 1) {
            line.name += (line.name.empty() ? "part " : ", part ") + std::to_string(i + 1);
        }
        file.AddLine(field, std::move(line));
    }
}

void CFeatureReading::AddAreas(MapFeature& feature, Field& field)
{
    std::vector<std::vector<Places>> areas;
    for (std::vector<Places>& rings : feature.parts) {
        try {
            if (rings.empty()) {
                throw CFieldFileProblem("it has no exterior ring");
            }
            for (Places& ring : rings) {
                ring = OpenRing(std::move(ring));
            }
            areas.push_back(std::move(rings));
        } catch (const CFieldFileProblem& problem) {
            file.Note(NameFor(feature) + ": a boundary is left out: " + problem.what());
        }
    }
    for (std::vector<Places>& rings : JoinedAreas(std::move(areas))) {
        FieldBoundary boundary;
        boundary.name = feature.name;
        boundary.exterior = std::move(rings.front());
        boundary.holes.assign(std::make_move_iterator(rings.begin() + 1),
                              std::make_move_iterator(rings.end()));
        file.AddBoundary(field, std::move(boundary));
    }
}

std::vector<MapFeature> LineFeatures(const CFieldFile& file)
{
    std::vector<MapFeature> features;
    for (const Field& field : file.fields) {
        for (const FieldLine& line : field.lines) {
            MapFeature feature;
            feature.parts = {{OutlineOf(line)}};
            feature.name = line.name;
            feature.field = field.name;
            feature.kind = KindName(line.kind);
            if (line.kind == Kestrove::EWaylineTypeCircle) {
                CircleOf(line); // one that is not a kind cannot be read back
            }
            if (line.kind == Kestrove::EWaylineTypeAHeading) {
                feature.headingDegrees = line.headingDegrees;
            }
            features.push_back(std::move(feature));
        }
    }
    return features;
}

std::vector<MapFeature> AreaFeatures(const CFieldFile& file)
{
    std::vector<MapFeature> features;
    for (const Field& field : file.fields) {
        for (const FieldBoundary& boundary : field.boundaries) {
            MapFeature feature;
            feature.isArea = true;
            feature.name = boundary.name;
            feature.field = field.name;
            std::vector<Places> rings{Closed(boundary.exterior, true)};
            for (const Places& hole : boundary.holes) {
                rings.push_back(Closed(hole, false));
            }
            feature.parts.push_back(std::move(rings));
            features.push_back(std::move(feature));
        }
    }
    return features;
}
