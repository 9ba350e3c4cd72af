#ifndef KESTROVE_TESTS_FUZZ_FUZZFIELDFILES_H
#define KESTROVE_TESTS_FUZZ_FUZZFIELDFILES_H

#include <cmath>

#include "tests/fuzz/FuzzMessages.h"
#include "tools/fieldfiles/FieldFile.h"
#include "tools/fieldfiles/Kml.h"

/// What the fuzz targets of files of fields share.
namespace FuzzFieldFiles {

inline void RequirePlaces(const std::vector<FieldPlace>& places, std::size_t least)
{
    FuzzMessages::Require(places.size() >= least, "a line or ring has its places");
    for (const FieldPlace& place : places) {
        FuzzMessages::Require(std::abs(place.latitude) <= 90.0 &&
                                  std::abs(place.longitude) <= 180.0,
                              "a place is on the earth");
    }
}

/// Reads a file: it is refused with a reason, or what was read of it lies on the earth and comes
/// back from a file of ours.
template <typename Read>
void Check(const Read& read)
{
    try {
        const CFieldFile file = read();
        for (const Field& field : file.fields) {
            for (const FieldLine& line : field.lines) {
                RequirePlaces(line.places, 1);
            }
            for (const FieldBoundary& boundary : field.boundaries) {
                RequirePlaces(boundary.exterior, 3);
            }
        }
        const std::string written = WriteKml(file); // refuses a circle whose points are on one line
        const CFieldFile back = ReadKml(written, std::nullopt);
        FuzzMessages::Require(back.BoundaryCount() == file.BoundaryCount(), "boundaries come back");
        FuzzMessages::Require(back.LineCount() + back.refused.size() == file.LineCount(),
                              "lines come back");
    } catch (const CFieldFileProblem& problem) {
        FuzzMessages::Require(problem.what()[0] != '\0', "a problem has a reason");
    }
}

} // namespace FuzzFieldFiles

#endif
