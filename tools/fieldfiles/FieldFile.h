#ifndef KESTROVE_TOOLS_FIELDFILES_FIELDFILE_H
#define KESTROVE_TOOLS_FIELDFILES_FIELDFILE_H

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "wayline/Wayline.h"

/// A place as a file has it: WGS 84, in degrees, and its height where the file has one.
struct FieldPlace
{
    double latitude = 0.0;        ///< degrees
    double longitude = 0.0;       ///< degrees, within -180 to 180
    std::optional<double> height; ///< metres above the ellipsoid
};

/// A guidance line as a file has it. Its places are the points of a wayline of its kind: A and B;
/// A; three on a circle; those of a spline or an A-B curve.
struct FieldLine
{
    Kestrove::EWaylineType kind = Kestrove::EWaylineTypeABCurve;
    std::string name;
    std::vector<FieldPlace> places;
    double headingDegrees = 0.0; ///< of an A-plus-heading line: clockwise from true north at A
};

/// The outline of an area. The first place of a ring is not repeated at its end.
struct FieldBoundary
{
    std::string name;
    std::vector<FieldPlace> exterior;
    std::vector<std::vector<FieldPlace>> holes;
};

/// What a file has of one field.
struct Field
{
    std::string name;
    std::vector<FieldLine> lines;
    std::vector<FieldBoundary> boundaries;
};

/// A line that a file has and that no wayline can carry, such as a spiral.
struct RefusedLine
{
    std::string field;
    std::string name;
    std::string reason; ///< ends a sentence that begins with the line
};

/// What a file has of fields. Thread safety: none.
class CFieldFile
{
public:
    std::vector<Field> fields;
    std::vector<RefusedLine> refused;

    /// The field of a name; made when there is none yet.
    Field& FieldOf(const std::string& name);
    /// Notes something that was left out of the file; of very many the first ones.
    void Note(const std::string& text);
    const std::vector<std::string>& Notes() const { return m_notes; }

    std::size_t LineCount() const;
    std::size_t BoundaryCount() const;
    /// The first place in the file; nothing when it has none.
    std::optional<FieldPlace> FirstPlace() const;

private:
    std::vector<std::string> m_notes;
};

/// Why a file cannot be read or written: thrown by readers and writers, with the reason for people.
class CFieldFileProblem : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Thrown when a file has more of something than FileLimits allows.
class CFieldFileTooLarge : public CFieldFileProblem
{
public:
    /// @param what what it has too many of: "places".
    explicit CFieldFileTooLarge(const std::string& what);
};

/// A ring without the repetition of its first place at the end.
///
/// @throws CFieldFileProblem when fewer than three places are left.
std::vector<FieldPlace> OpenRing(std::vector<FieldPlace> ring);

#endif
