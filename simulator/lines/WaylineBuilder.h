#ifndef KESTROVE_SIMULATOR_LINES_WAYLINEBUILDER_H
#define KESTROVE_SIMULATOR_LINES_WAYLINEBUILDER_H

#include <array>
#include <cstddef>
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
class CWaylineBuilder
{
public:
    /// The number of waypoints there can be.
    static constexpr int kMostWaypoints = 3;

    /// Begins a wayline of a kind that is made from waypoints; those set so far are dropped.
    ///
    /// @return false when the kind is not one of them.
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
    /// A waypoint; null when it is not set.
    const Waypoint* At(int number) const;
    /// Brings back the waypoints before the last change of them; nothing happens when there was
    /// none.
    ///
    /// @return the number of waypoints set now.
    int Restore();
    /// The number of waypoints set now.
    int Count() const;

    /// The most points of a recorded drive; what is driven after them is not recorded. Half a metre
    /// and more apart, they reach for 50 km at least.
    static constexpr std::size_t kMostRecordedPoints = 100000;

    /// Takes down where the machine is while a drive is recorded. Positions closer than half a
    /// metre to the one before are passed over.
    void Record(const Core::Maths::Vector3<double>& here);
    bool Recording() const;
    /// The recorded drive.
    const std::vector<Core::Maths::Vector3<double>>& Recorded() const { return m_recorded; }
    /// Its length seen from above, metres.
    double RecordedLength() const { return m_recordedLength; }

    /// The kind of the wayline that is being made; EWaylineTypeEmpty when none is.
    Kestrove::EWaylineType Kind() const { return m_kind; }
    /// The wayline; null as long as waypoints are missing. Path is made of Recorded().
    Kestrove::WaylinePtr Wayline() const;

private:
    using Waypoints = std::array<std::optional<Waypoint>, kMostWaypoints>;

    bool IsDriven() const;
    void StartRecording(const Core::Maths::Vector3<double>& here);
    std::string EndRecording(const Core::Maths::Vector3<double>& here);
    void Remember();

    Kestrove::EWaylineType m_kind = Kestrove::EWaylineTypeEmpty;
    Waypoints m_waypoints;
    std::vector<Waypoints> m_history;
    std::vector<Core::Maths::Vector3<double>> m_recorded;
    double m_recordedLength = 0.0;
};

#endif
