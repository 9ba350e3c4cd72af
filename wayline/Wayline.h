#ifndef KESTROVE_WAYLINE_WAYLINE_H
#define KESTROVE_WAYLINE_WAYLINE_H

/// @file
/// Guidance lines of eight kinds, their list form and their text form.

#include <string>
#include <vector>

#include "core/Export.h"
#include "core/SharedPtr.h"
#include "core/Vector3.h"

class BListC;

namespace Kestrove {

/// The kinds of waylines by the codes under which they are sent and written. A code from the link
/// that has no name here is still a value.
enum EWaylineType : int
{
    EWaylineTypeEmpty = -1,   ///< CEmptyWayline
    EWaylineTypeAB = 0,       ///< CABWayline
    EWaylineTypeAHeading = 1, ///< CAHeadingWayline
    EWaylineTypeCircle = 2,   ///< CCircleWayline
    EWaylineTypeSpline = 3,   ///< CSplineWayline
    EWaylineTypeABCurve = 4,  ///< CABCurveWayline
    EWaylineTypePath = 5,     ///< CPathWayline
    EWaylineTypeReplay = 6,   ///< CReplayWayline
};

class CWayline;

/// How waylines are held and handed around. A null pointer means that there is no wayline.
using WaylinePtr = Core::SharedPtr<CWayline, Core::SimpleReferenceCounter>;

/// A guidance line, along which the navigation service steers the machine: the common face of the
/// eight kinds below.
///
/// A wayline writes itself to and reads itself from two encodings: the list form, which crosses the
/// link to the service, and the text form, one line of blank-separated numbers for an application's
/// own storage. docs/wayline-formats.md describes both. A wayline carries its values without
/// giving them a meaning; the meanings below are those of the bundled service, in whose local frame
/// positions are metres (x east, y north, z up) and headings radians clockwise from north.
///
/// The order of the virtual operations and the members of every kind stay as they are, so that an
/// application keeps working with a newer library without a rebuild.
///
/// Thread safety: none; distinct waylines are independent. Nothing here blocks.
class KESTROVE_EXPORT CWayline
{
public:
    /// Destroys the wayline whole, whatever its kind.
    virtual ~CWayline();

    /// Writes the list form: the code of the kind, then its values.
    ///
    /// @return a new list, which the caller owns.
    [[nodiscard]] virtual BListC* ToBList() const = 0;

    /// Reads the list form.
    ///
    /// The code at the front is not compared with the kind. Kinds with points add the points to
    /// those that they hold and trust the list's point count: for a count larger than the list,
    /// they take what the list gives for places past its end.
    ///
    /// @param list the list; must not be null, stays the caller's.
    /// @return false when the list has not the length that the kind wants; the wayline is then
    ///         unchanged.
    /// @throws std::length_error for a negative point count, std::bad_alloc for one that memory
    ///         does not suffice for; the wayline is then unchanged.
    [[nodiscard]] virtual bool LoadBList(BListC* list) = 0;

    /// Writes the text form: the code of the kind, then its values, blank-separated; whatever the
    /// locale. Doubles have six decimals, so smaller differences are lost.
    ///
    /// @return the text; empty for a kind that has no text form.
    [[nodiscard]] virtual std::string ToString() const;

    /// Reads the text form, whatever the locale. The code at the front must be that of the kind.
    ///
    /// Kinds with points, path and replay print what they read to standard output.
    ///
    /// @param text the whole text, code included.
    /// @return whether the text was accepted; always false for a kind that has no text form. After
    ///         false, values that stand before the first unreadable one may have been taken over.
    [[nodiscard]] virtual bool LoadString(const std::string& text);

    /// @return the kind.
    [[nodiscard]] EWaylineType Type() const { return m_type; }

    /// Builds the wayline that a list form describes.
    ///
    /// @param list the list; stays the caller's. Null gives a null pointer.
    /// @return the only owner of the new wayline; null for an empty list, for a code that is not a
    ///         kind's, for a list that its kind does not accept (see LoadBList()), and always for
    ///         the code of CEmptyWayline.
    /// @throws std::length_error for a negative point count, std::bad_alloc for one that memory
    ///         does not suffice for; nothing is left behind.
    [[nodiscard]] static WaylinePtr FromBList(BListC* list);

    /// Builds the wayline that a text form describes.
    ///
    /// @param text as ToString() writes it, or by hand.
    /// @return the only owner of the new wayline; null for an empty text, for a first word that is
    ///         not a kind's code, for a text that its kind does not accept (see LoadString()), and
    ///         always for the code of CEmptyWayline.
    [[nodiscard]] static WaylinePtr FromString(const std::string& text);

protected:
    /// For the kinds.
    ///
    /// @param type the kind's code, which nothing changes afterwards.
    explicit CWayline(EWaylineType type) : m_type(type) {}
    // Only whole kinds are copied: a copy through the base would lose the values or mix kinds.
    /// For the kinds, whose copies are whole.
    CWayline(const CWayline&) = default;
    /// For the kinds, whose copies are whole.
    ///
    /// @return this wayline.
    CWayline& operator=(const CWayline&) = default;

private:
    EWaylineType m_type;
};

/// No line at all, as an object. It is written as an empty list and as an empty text and cannot be
/// read back: what has no elements or no words comes back as a null pointer.
class KESTROVE_EXPORT CEmptyWayline : public CWayline
{
public:
    /// No line.
    CEmptyWayline();
    /// @return a new list without elements, which the caller owns.
    [[nodiscard]] BListC* ToBList() const override;
    /// Reads nothing: an empty wayline does not come back.
    ///
    /// @param list is not looked at.
    /// @return always false.
    [[nodiscard]] bool LoadBList(BListC* list) override;
};

/// A straight line through two points, running from A to B, without ends.
///
/// List form: [0, A x, A y, A z, B x, B y, B z]; text form the same numbers.
class KESTROVE_EXPORT CABWayline : public CWayline
{
public:
    /// Both points at the origin.
    CABWayline();
    /// The line through two points.
    ///
    /// @param pointA where it comes from (metres east, north, up).
    /// @param pointB where it leads to, likewise.
    CABWayline(const Core::Maths::Vector3<double>& pointA,
               const Core::Maths::Vector3<double>& pointB);
    [[nodiscard]] BListC* ToBList() const override;
    [[nodiscard]] bool LoadBList(BListC* list) override;
    [[nodiscard]] std::string ToString() const override;
    [[nodiscard]] bool LoadString(const std::string& text) override;

    double pointAX = 0.0; ///< point A, metres east
    double pointAY = 0.0; ///< point A, metres north
    double pointAZ = 0.0; ///< point A, metres up
    double pointBX = 0.0; ///< point B, metres east
    double pointBY = 0.0; ///< point B, metres north
    double pointBZ = 0.0; ///< point B, metres up
};

/// A straight line through a point in a given heading, without ends.
///
/// List form: [1, A x, A y, A z, heading]; text form the same numbers.
class KESTROVE_EXPORT CAHeadingWayline : public CWayline
{
public:
    /// Through the origin, heading north.
    CAHeadingWayline();
    /// The line through a point in a heading.
    ///
    /// @param point any of its points (metres east, north, up).
    /// @param lineHeading radians, clockwise from north.
    CAHeadingWayline(const Core::Maths::Vector3<double>& point, double lineHeading);
    [[nodiscard]] BListC* ToBList() const override;
    [[nodiscard]] bool LoadBList(BListC* list) override;
    [[nodiscard]] std::string ToString() const override;
    [[nodiscard]] bool LoadString(const std::string& text) override;

    double pointAX = 0.0; ///< point A, metres east
    double pointAY = 0.0; ///< point A, metres north
    double pointAZ = 0.0; ///< point A, metres up
    double heading = 0.0; ///< radians, clockwise from north
};

/// A circle, given by three of its points in driving order.
///
/// List form: [2, first x, y, z, second x, y, z, third x, y, z]; text form the same numbers.
class KESTROVE_EXPORT CCircleWayline : public CWayline
{
public:
    /// All three points at the origin.
    CCircleWayline();
    /// The circle through three points, driven from the first over the second to the third.
    ///
    /// @param firstPoint,secondPoint,thirdPoint metres east, north, up.
    CCircleWayline(const Core::Maths::Vector3<double>& firstPoint,
                   const Core::Maths::Vector3<double>& secondPoint,
                   const Core::Maths::Vector3<double>& thirdPoint);
    [[nodiscard]] BListC* ToBList() const override;
    [[nodiscard]] bool LoadBList(BListC* list) override;
    [[nodiscard]] std::string ToString() const override;
    [[nodiscard]] bool LoadString(const std::string& text) override;

    double firstPointX = 0.0;  ///< first point, metres east
    double firstPointY = 0.0;  ///< first point, metres north
    double firstPointZ = 0.0;  ///< first point, metres up
    double secondPointX = 0.0; ///< second point, metres east
    double secondPointY = 0.0; ///< second point, metres north
    double secondPointZ = 0.0; ///< second point, metres up
    double thirdPointX = 0.0;  ///< third point, metres east
    double thirdPointY = 0.0;  ///< third point, metres north
    double thirdPointZ = 0.0;  ///< third point, metres up
};

/// The smooth curve through a sequence of points.
///
/// List form: [3, number of points, x, y, z of each point]; text form the same numbers. Without
/// points the list form has two elements, one less than the reader wants: it comes back as a null
/// pointer. The text form comes back.
class KESTROVE_EXPORT CSplineWayline : public CWayline
{
public:
    /// No points.
    CSplineWayline();
    /// The curve through a sequence of points.
    ///
    /// @param curvePoints metres east, north, up; in driving order.
    explicit CSplineWayline(std::vector<Core::Maths::Vector3<double>> curvePoints);
    [[nodiscard]] BListC* ToBList() const override;
    [[nodiscard]] bool LoadBList(BListC* list) override;
    [[nodiscard]] std::string ToString() const override;
    /// Reads the text form. A text with another number of words than its point count asks for is
    /// accepted too, and then leaves the points as they are.
    ///
    /// @param text the whole text, code included.
    /// @return whether the text was accepted.
    [[nodiscard]] bool LoadString(const std::string& text) override;

    std::vector<Core::Maths::Vector3<double>> points; ///< metres east, north, up
};

/// A driven line from A to B as a sequence of points.
///
/// List form: [4, number of points, x, y, z of each point]; text form the same numbers. Without
/// points the list form has two elements, one less than the reader wants: it comes back as a null
/// pointer. The text form comes back.
class KESTROVE_EXPORT CABCurveWayline : public CWayline
{
public:
    /// No points.
    CABCurveWayline();
    /// The line along a sequence of points.
    ///
    /// @param curvePoints metres east, north, up; in driving order.
    explicit CABCurveWayline(std::vector<Core::Maths::Vector3<double>> curvePoints);
    [[nodiscard]] BListC* ToBList() const override;
    [[nodiscard]] bool LoadBList(BListC* list) override;
    [[nodiscard]] std::string ToString() const override;
    /// Reads the text form. A text with another number of words than its point count asks for is
    /// accepted too, and then leaves the points as they are.
    ///
    /// @param text the whole text, code included.
    /// @return whether the text was accepted.
    [[nodiscard]] bool LoadString(const std::string& text) override;

    std::vector<Core::Maths::Vector3<double>> points; ///< metres east, north, up
};

/// The line that the service recorded between two waypoints and keeps to itself. It carries nothing
/// but its code.
///
/// List form: [5]; text form "5".
class KESTROVE_EXPORT CPathWayline : public CWayline
{
public:
    /// The service's recorded line, which this object only names.
    CPathWayline();
    [[nodiscard]] BListC* ToBList() const override;
    /// Reads the list form, which has nothing but the code.
    ///
    /// @param list the list; must not be null, stays the caller's. No element is read.
    /// @return whether it has at least one element.
    [[nodiscard]] bool LoadBList(BListC* list) override;
    [[nodiscard]] std::string ToString() const override;
    /// Reads the text form. What ToString() writes is not accepted.
    ///
    /// @param text the whole text, code included.
    /// @return whether it starts with the kind's code and has at least one further word.
    [[nodiscard]] bool LoadString(const std::string& text) override;
};

/// The last recorded drive, to be driven again. It carries nothing but its code.
///
/// List form: [6]; text form "6".
class KESTROVE_EXPORT CReplayWayline : public CWayline
{
public:
    /// The service's recorded drive, which this object only names.
    CReplayWayline();
    [[nodiscard]] BListC* ToBList() const override;
    /// Reads the list form, which has nothing but the code.
    ///
    /// @param list the list; must not be null, stays the caller's. No element is read.
    /// @return whether it has at least one element.
    [[nodiscard]] bool LoadBList(BListC* list) override;
    [[nodiscard]] std::string ToString() const override;
    /// Reads the text form. What ToString() writes is not accepted.
    ///
    /// @param text the whole text, code included.
    /// @return whether it starts with the kind's code and has at least one further word.
    [[nodiscard]] bool LoadString(const std::string& text) override;
};

} // namespace Kestrove

#endif
