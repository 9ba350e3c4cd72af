#ifndef KESTROVE_SIMULATOR_WAYLINEBUILDER_H
#define KESTROVE_SIMULATOR_WAYLINEBUILDER_H

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "core/Vector3.h"
#include "wayline/Wayline.h"

/// A point that the operator marked: metres in the local frame, heading in radians.
struct Waypoint
{
    Core::Maths::Vector3<double> position;
    double heading = 0.0;
};

/// Makes a wayline from waypoints: A-B line, A-plus-heading line and circle from the waypoints
/// themselves, the driven kinds (spline, A-B curve, path) from where the machine drove between
/// waypoint 0 and waypoint 1.
///
/// A value: a copy tries a change out. Thread safety: none.
class WaylineBuilderC
{
public:
    /// The number of waypoints there can be.
    static constexpr int kMostWaypoints = 3;

    /// Begins a wayline of a kind that is made from waypoints; those set so far are dropped.
    ///
    /// @return false when the kind is none of them.
    bool Begin(Kestrove::EWaylineType kind);
    /// Ends the making; the waypoints stay.
    void Finish() { m_kind = Kestrove::EWaylineTypeEmpty; }
    /// Drops the waypoints and ends the making.
    void Clear();

    /// Sets a waypoint. For a driven kind, waypoint 0 starts the recording and waypoint 1 ends it.
    ///
    /// @param here where the machine is.
    /// @return an empty text on success, otherwise why it is refused; nothing has changed then.
    std::string Set(int number, const Waypoint& waypoint, const Core::Maths::Vector3<double>& here);
    bool IsSet(int number) const;
    /// Brings back the waypoints before the last change of them; nothing happens when there was
    /// none.
    ///
    /// @return the number of waypoints set now.
    int Restore();

    /// Takes down where the machine is while a drive is recorded. Positions closer than half a
    /// metre to the one before are passed over.
    void Record(const Core::Maths::Vector3<double>& here);
    bool Recording() const;
    /// The recorded drive.
    const std::vector<Core::Maths::Vector3<double>>& Recorded() const { return m_recorded; }

    /// The kind of the wayline that is being made; EWaylineTypeEmpty when none is.
    Kestrove::EWaylineType Kind() const { return m_kind; }
    /// The wayline; null as long as waypoints are missing. Path is made of Recorded().
    Kestrove::WaylinePtr Wayline() const;

private:
    using Waypoints = std::array<std::optional<Waypoint>, kMostWaypoints>;

    bool IsDriven() const;
    void Remember();

    Kestrove::EWaylineType m_kind = Kestrove::EWaylineTypeEmpty;
    Waypoints m_waypoints;
    std::vector<Waypoints> m_history;
    std::vector<Core::Maths::Vector3<double>> m_recorded;
};

/// The length of a polyline seen from above, metres.
double LengthOf(const std::vector<Core::Maths::Vector3<double>>& points);

#endif
