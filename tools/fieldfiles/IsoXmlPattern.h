#ifndef KESTROVE_TOOLS_FIELDFILES_ISOXMLPATTERN_H
#define KESTROVE_TOOLS_FIELDFILES_ISOXMLPATTERN_H

#include <string>
#include <vector>

#include <pugixml.hpp>

#include "tools/fieldfiles/FieldFile.h"

/// A point (PNT) of an ISOXML.
struct IsoPoint
{
    int type = 0; ///< see EIsoPointType; other numbers, too
    FieldPlace place;
};

/// The types of points, as the attribute A of a PNT has them.
enum EIsoPointType
{
    kOtherPoint = 2,
    kGuidanceA = 6,
    kGuidanceB = 7,
    kGuidanceCentre = 8,
    kGuidancePoint = 9,
};

/// The kinds of a guidance pattern (GPN), as the attribute C has them.
enum EIsoPattern
{
    kIsoAB = 1,
    kIsoAPlus = 2,
    kIsoCurve = 3,
    kIsoPivot = 4,
    kIsoSpiral = 5,
};

/// An attribute without blanks around it; empty when it is missing or empty, which is the same.
std::string IsoText(const pugi::xml_node& node, const char* attribute);

/// A whole number in an attribute; `otherwise` when there is none.
int IsoCode(const pugi::xml_node& node, const char* attribute, int otherwise);

/// The points (PNT) in a line string (LSG).
///
/// @throws CFieldFileProblem when one of them is not a place on the earth or lies in a binary file.
std::vector<IsoPoint> IsoPoints(const pugi::xml_node& lineString);

/// The line of a guidance pattern (GPN), without its name.
///
/// @throws CFieldFileProblem when it has not what its kind needs, and for a spiral.
FieldLine IsoPatternLine(const pugi::xml_node& pattern);

/// The line of a guidance line string (LSG) that stands in a field itself, where version 3 has
/// them: two points are an A-B line, more an A-B curve.
///
/// @throws CFieldFileProblem when it has fewer.
FieldLine IsoPlainLine(const pugi::xml_node& lineString);

#endif
