#ifndef KESTROVE_TOOLS_FIELDFILES_MAPFEATURE_H
#define KESTROVE_TOOLS_FIELDFILES_MAPFEATURE_H

#include <optional>
#include <string>
#include <vector>

#include "tools/fieldfiles/FieldFile.h"

/// A feature as files of maps have them (KML, Shapefile, GeoPackage): a geometry and words about
/// it.
struct MapFeature
{
    bool isArea = false;
    /// The parts of a line, or the areas, each an exterior ring and its holes one after the other.
    std::vector<std::vector<std::vector<FieldPlace>>> parts;
    std::string name;
    std::string kind;  ///< the word of a kind of wayline; empty when the file has none
    std::string field; ///< the name of the field; empty when the file has none
    std::optional<double> headingDegrees;
};

/// Whether all places of a feature have a height.
bool HasHeights(const MapFeature& feature);

/// Takes features of a file into fields. Thread safety: none.
class CFeatureReading
{
public:
    /// @param kind what lines are that have no kind; without it two points are an A-B line and more
    ///        an A-B curve.
    explicit CFeatureReading(const std::optional<Kestrove::EWaylineType>& kind) : m_kind(kind) {}

    CFieldFile file;

    /// Adds a feature. A line that cannot be used is kept by its name, with the reason. Heights
    /// that are all 0 are what programs write that know none; they are dropped.
    ///
    /// @param layer the name of the field where the feature has none.
    /// @throws CFieldFileTooLarge when the file is over a limit.
    void Add(MapFeature feature, const std::string& layer);

private:
    static void DropFalseHeights(MapFeature& feature);
    void AddLine(MapFeature& feature, Field& field);
    void AddAreas(MapFeature& feature, Field& field);
    void Count(std::size_t places);

    std::optional<Kestrove::EWaylineType> m_kind;
    std::size_t m_features = 0;
    std::size_t m_places = 0;
};

/// The lines of a file as features: the geometry is the line's outline, see OutlineOf().
///
/// @throws CFieldFileProblem for a line that has no outline.
std::vector<MapFeature> LineFeatures(const CFieldFile& file);

/// The boundaries of a file as features: exterior rings counter-clockwise, holes clockwise, each
/// with its first place repeated at the end.
std::vector<MapFeature> AreaFeatures(const CFieldFile& file);

#endif
