#ifndef KESTROVE_TOOLS_FIELDFILES_FIELDFILE_H
#define KESTROVE_TOOLS_FIELDFILES_FIELDFILE_H

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
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
    /// Which line of its file it is, from 1, of all of them and in the file's order, those included
    /// that cannot be used; 0 of a line that is of no file.
    std::size_t number = 0;
};

/// The outline of an area. The first place of a ring is not repeated at its end.
struct FieldBoundary
{
    std::string name;
    std::vector<FieldPlace> exterior;
    std::vector<std::vector<FieldPlace>> holes;
    std::size_t number = 0; ///< which boundary of its file it is, from 1; 0 of one that is of none
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
    std::string reason;     ///< ends a sentence that begins with the line
    std::size_t number = 0; ///< as that of the lines that can be used
};

/// What a file has of fields. Thread safety: none.
class CFieldFile
{
public:
    std::vector<Field> fields;
    std::vector<RefusedLine> refused;

    /// The field of a name, of several the last one; made when there is none yet.
    ///
    /// @throws CFieldFileTooLarge for more fields than are read.
    Field& FieldOf(const std::string& name);
    /// Adds a line to a field, with the next number of a line.
    void AddLine(Field& field, FieldLine line);
    /// Adds a boundary to a field, with the next number of a boundary.
    void AddBoundary(Field& field, FieldBoundary boundary);
    /// Keeps a line that cannot be used by its name, with the reason and the next number of a line.
    ///
    /// @throws CFieldFileTooLarge for more of them than are read.
    void Refuse(const std::string& field, const std::string& name, const std::string& reason);
    /// Adds what another file has, with numbers that go on behind this one's; to a field that there
    /// is already what the other one has of the same name.
    ///
    /// @throws CFieldFileTooLarge for more fields than are read.
    void Append(CFieldFile&& more);
    /// Notes something that was left out of the file; of very many the first ones.
    void Note(const std::string& text);
    const std::vector<std::string>& Notes() const { return m_notes; }

    std::size_t LineCount() const;
    std::size_t BoundaryCount() const;
    /// The first place in the file; nothing when it has none.
    std::optional<FieldPlace> FirstPlace() const;

private:
    std::vector<std::string> m_notes;
    std::unordered_map<std::string, std::size_t> m_placeOfName; ///< of the fields counted below
    std::size_t m_placed = 0;
    std::size_t m_lines = 0;
    std::size_t m_boundaries = 0;
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
