#ifndef KESTROVE_API_NAVIGATIONAPI_H
#define KESTROVE_API_NAVIGATIONAPI_H

/// @file
/// The navigation client.

#include <memory>
#include <string>
#include <vector>

#include "api/TuningParameter.h"
#include "core/Export.h"
#include "core/Functors.h"
#include "core/Vector2.h"
#include "core/Vector3.h"
#include "core/Version.h"
#include "platform/MPISocketClient.h"
#include "wayline/Wayline.h"

/// The connection to the navigation service on this machine ("localhost", port 5010), through which
/// an application steers along a wayline. Every operation is one remote call; the object holds no
/// guidance state of its own, so every getter asks the service again. The operations are described
/// in groups: @ref steering, @ref engage_settings, @ref waylines, @ref offsets, @ref position_feed,
/// @ref tuning, @ref events.
///
/// The Wire line of an operation gives its guard and kind, its service name, its arguments and its
/// reply. Booleans travel as the integers 0 and 1, floats as doubles, enumerations as integers.
///
/// The guard says how an operation tries to reach the service again, which the protocol fixes. A
/// reconnecting one makes one attempt to connect when the link is down, and fails when that fails.
/// A verifying one fails unless VerifyConnection() finds the connection usable; that, too, makes
/// one attempt to reopen a lost link. A service that is down is not an error of the object.
///
/// A request blocks until the reply or the time-out. A notification waits for no reply, and nothing
/// reports whether the service took it: it may be lost without a word. What such an operation
/// returns shows that the service could be reached, and nothing more.
///
/// An operation fails when its guard does; it has then sent nothing. A request also fails when no
/// reply comes, and when a list comes in place of a value or the other way round. Among values, a
/// text counts as 0, and a double where an integer is read loses its fraction. A request that got
/// no reply may have reached the service; it is not sent a second time. Failures are neither thrown
/// nor logged: each operation names the value that it returns on failure. The service may reply
/// with the same value; LastError() distinguishes the two, except for a reply of the other type:
/// its code is None after every reply that was read.
///
/// What is thrown is std::length_error, by GetWayline() and by the delivery of "cb_draw_points",
/// when the service announces a negative number of points, and std::bad_alloc where memory runs
/// out.
///
/// An attempt to connect takes at most 1000 ms; then a request waits for its reply, and a
/// notification for room to be sent, for at most the connection's time-out (SetTimeout(); 2000 ms
/// unless set, -1 without limit). The two together bound a call.
///
/// Values are passed on as they are. The meanings and units given here are those of the bundled
/// service; another service may give others.
///
/// Events are delivered on the application's thread by the inherited ProcessMessages() and
/// CheckCallbacks(), never inside an operation; see @ref events.
///
/// Thread safety: none; the object is used from one thread at a time and has no thread of its own.
/// Lifetime: destroying it closes the connection. It must not be destroyed from inside a callback.
class KESTROVE_EXPORT CNavigationAPI : public MPISocketClientC
{
public:
    /// Makes one attempt to connect. Succeeds whether or not the service is there.
    CNavigationAPI();
    /// Closes the connection. The functors that the setters still hold are not deleted: set null
    /// first, or keep pointers to them.
    ~CNavigationAPI() override;

    /// @defgroup steering Steering and navigation
    /// @{

    /// Asks whether the service is steering the machine.
    ///
    /// @return true when the service replies exactly 1; it reserves other values. False otherwise,
    ///         also on failure.
    ///
    /// Wire: reconnecting request "IsSteeringEngaged" [] -> int.
    [[nodiscard]] bool IsSteeringEngaged();

    /// Lets the service take over the steering.
    ///
    /// @return the service's integer: 1 engaged, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "EngageSteering" [1] -> int.
    int EngageSteering();

    /// Gives the steering back to the operator.
    ///
    /// @return the service's integer: 1 done, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "DisengageSteering" [1] -> int.
    int DisengageSteering();

    /// Starts navigation along the wayline, which must be complete.
    ///
    /// @param followNearestPass true to follow the pass nearest to the machine, false to follow the
    ///        wayline itself.
    /// @return the service's integer: 1 started, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "StartNavigation" [1, followNearestPass] -> int.
    int StartNavigation(bool followNearestPass);

    /// Disengages and stops navigation; the wayline stays.
    ///
    /// @return the service's integer: 1 done, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "StopNavigation" [1] -> int.
    int StopNavigation();

    /// Disengages and drops wayline, waypoints, nudge and field offset.
    ///
    /// @return the service's integer: 1 done, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "ClearNavigation" [] -> int. Unlike its neighbours without a
    /// leading 1.
    int ClearNavigation();

    /// Puts every setting of the service back to its start value.
    ///
    /// @return the service's integer: 1 done, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "ReinitialiseNavigation" [1] -> int.
    int ReinitialiseNavigation();

    /// Asks whether navigation is active.
    ///
    /// @return true when the service replies exactly 1; it reserves other values. False otherwise,
    ///         also on failure.
    ///
    /// Wire: reconnecting request "IsNavigationActivated" [] -> int.
    [[nodiscard]] bool IsNavigationActivated();

    /// @}

    /// @defgroup engage_settings Engage settings
    /// @{

    /// Sets whether the machine can engage while it reverses at all (see SetAllowReverseEngage()).
    ///
    /// @param enabled whether it can.
    /// @param persist whether the service keeps the value over a restart.
    ///
    /// Wire: verifying notification "set_reverse_engage_enabled" [enabled, persist].
    void SetReverseEngageEnabled(bool enabled, bool persist);

    /// Asks for the setting of SetReverseEngageEnabled().
    ///
    /// @return true for every reply but 0; false also on failure.
    ///
    /// Wire: verifying request "get_reverse_engage_enabled" [1] -> int.
    [[nodiscard]] bool GetReverseEngageEnabled();

    /// Sets whether the operator allows engaging in reverse. Both this and
    /// SetReverseEngageEnabled() must be true for it to happen.
    ///
    /// @param allowed whether it is allowed.
    /// @param persist whether the service keeps the value over a restart.
    ///
    /// Wire: verifying notification "set_reverse_engage_allowed" [allowed, persist].
    void SetAllowReverseEngage(bool allowed, bool persist);

    /// Asks for the setting of SetAllowReverseEngage().
    ///
    /// @return true for every reply but 0; false also on failure.
    ///
    /// Wire: verifying request "get_reverse_engage_allowed" [1] -> int.
    [[nodiscard]] bool GetAllowReverseEngage();

    /// Sets whether steering may be engaged at low speed, and then stay engaged without limit of
    /// time.
    ///
    /// @param enabled whether it may.
    /// @param persist whether the service keeps the value over a restart.
    ///
    /// Wire: verifying notification "set_low_speed_engage_allowed" [enabled, persist]. The service
    /// says "allowed" for what is "enabled" here.
    void SetLowSpeedEngageEnabled(bool enabled, bool persist);

    /// Asks for the setting of SetLowSpeedEngageEnabled().
    ///
    /// @return true for every reply but 0; false also on failure.
    ///
    /// Wire: verifying request "get_low_speed_engage_allowed" [1] -> int.
    [[nodiscard]] bool GetLowSpeedEngageEnabled();

    /// Sets how long steering stays engaged at low speed while SetLowSpeedEngageEnabled() is off.
    ///
    /// @param timeoutSeconds the time in seconds.
    /// @param persist whether the service keeps the value over a restart.
    ///
    /// Wire: verifying notification "set_low_speed_engage_timeout" [timeoutSeconds, persist].
    void SetLowSpeedEngageTimeout(double timeoutSeconds, bool persist);

    /// Asks how long steering stays engaged at low speed while SetLowSpeedEngageEnabled() is off.
    ///
    /// @return the time in seconds; 0.0 on failure.
    ///
    /// Wire: verifying request "get_low_speed_engage_timeout" [1] -> double.
    [[nodiscard]] double GetLowSpeedEngageTimeout();

    /// Sets how far ahead of the machine, in time, the controller aims.
    ///
    /// @param lookAheadSeconds the time in seconds.
    /// @param persist whether the service keeps the value over a restart.
    ///
    /// Wire: verifying notification "set_lookahead_time" [lookAheadSeconds, persist].
    void SetLookAheadTime(double lookAheadSeconds, bool persist);

    /// Asks how far ahead of the machine, in time, the controller aims.
    ///
    /// @return the time in seconds; 0.0 on failure.
    ///
    /// Wire: verifying request "get_lookahead_time" [1] -> double.
    [[nodiscard]] double GetLookAheadTime();

    /// @}

    /// @defgroup waylines Waylines and waypoints
    ///
    /// Waylines cross the link in their list form, see docs/wayline-formats.md.
    /// @{

    /// Sets the origin of the local frame in which waylines are given.
    ///
    /// @param origin latitude (degrees), longitude (degrees), ellipsoid height (metres), WGS 84.
    ///
    /// Wire: verifying notification "set_wayline_origin" [origin.x, origin.y, origin.z].
    void SetWaylineOrigin(const Core::Maths::Vector3<double>& origin);

    /// Has the service calculate the heading of each wayline where the machine is nearest to it.
    ///
    /// @param waylines the waylines, none of them null; unchanged.
    /// @return the headings (radians, clockwise from north; NaN for a wayline without a shape), in
    ///         the service's order and number, which need not be the number sent; empty on failure.
    ///
    /// Wire: verifying request "calculate_headings" [list form of each wayline] -> list of doubles.
    [[nodiscard]] std::vector<double>
    CalculateHeadings(const std::vector<Kestrove::WaylinePtr>& waylines);

    /// Asks for the service's wayline.
    ///
    /// @return the wayline, solely owned by the caller; null when there is none, on failure, and
    ///         for a list that is not a wayline's.
    /// @throws std::length_error for a list form with a negative number of points; the object stays
    ///         usable.
    ///
    /// Wire: verifying request "get_wayline" [] -> list form of the wayline.
    [[nodiscard]] Kestrove::WaylinePtr GetWayline();

    /// Replaces the service's wayline.
    ///
    /// @param wayline the new wayline; must not be null.
    /// @return true when the service replied at all: its answer, a refusal included, is
    ///         disregarded. False otherwise.
    ///
    /// Wire: verifying request "set_wayline" the wayline's list form -> int. That list is the
    /// argument list itself.
    bool SetWayline(Kestrove::WaylinePtr wayline);

    /// Drops the service's wayline and disengages.
    ///
    /// @return true for every reply but 0, which means that there was none; false also on failure.
    ///
    /// Wire: verifying request "clear_wayline" [] -> int.
    bool ClearWayline();

    /// Begins a wayline of the given kind, which the waypoints then complete.
    ///
    /// @param type the kind of wayline.
    /// @return true for every reply but 0, which means refused; false also on failure.
    ///
    /// Wire: verifying request "start_wayline" [type] -> int.
    bool StartWayline(Kestrove::EWaylineType type);

    /// Sets a waypoint of the wayline that was begun.
    ///
    /// @param waypoint its number: 0 for A, 1 for B, 2 for the third point of a circle.
    /// @param x metres east of the wayline origin.
    /// @param y metres north of it.
    /// @param z metres above it.
    /// @param heading radians, clockwise from north.
    /// @return true for every reply but 0, which means refused; false also on failure.
    ///
    /// Wire: verifying request "set_waypoint" [waypoint, x, y, z, heading] -> int.
    bool SetWaypoint(int waypoint, double x, double y, double z, double heading);

    /// Asks whether a waypoint is set.
    ///
    /// @param waypoint its number, as in SetWaypoint().
    /// @return true when the service replies exactly 1; it reserves other values. False otherwise,
    ///         also on failure.
    ///
    /// Wire: reconnecting request "is_waypoint_set" [waypoint] -> int.
    [[nodiscard]] bool IsWaypointSet(int waypoint);

    /// Brings back the waypoints before the last change.
    ///
    /// @return the service's integer, the number of waypoints; -1 on failure.
    ///
    /// Wire: reconnecting request "RestoreWaypoints" [1] -> int.
    int RestoreWaypoints();

    /// @}

    /// @defgroup offsets Offsets, nudge and implement
    ///
    /// Metres; positive shifts the line to the right, looking along it.
    /// @{

    /// Nudges the line.
    ///
    /// @param nudge receives the resulting nudge as a vector (metres); untouched on failure.
    /// @param add true to add `amount` to the nudge, false to set the nudge to it.
    /// @param amount metres.
    /// @return the service's status: 1 done, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "Nudge" [1, add, amount] -> [int status, double x, double y,
    /// double z]. Elements missing from the reply count as 0.
    int Nudge(Core::Maths::Vector3<double>& nudge, bool add, double amount);

    /// Chooses the nudge that puts the line under the machine.
    ///
    /// @param nudge receives the resulting nudge as a vector (metres); untouched on failure.
    /// @return the service's status: 1 done, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "AutoSetNudge" [1] -> [int status, double x, double y, double z].
    /// Elements missing from the reply count as 0.
    int AutoSetNudge(Core::Maths::Vector3<double>& nudge);

    /// Asks for the nudge as a vector.
    ///
    /// @param nudge receives it (metres); untouched on failure.
    /// @return true when a list came; false on failure.
    ///
    /// Wire: verifying request "get_nudge_vector" [] -> [double x, double y, double z]. Elements
    /// missing from the reply count as 0.
    [[nodiscard]] bool GetNudgeVector(Core::Maths::Vector3<double>& nudge);

    /// Asks for the nudge as a number.
    ///
    /// @return metres; -1.0 on failure.
    ///
    /// Wire: reconnecting request "get_nudge" [1] -> double.
    [[nodiscard]] double GetNudgeScalar();

    /// Sets the nudge.
    ///
    /// @param nudge metres.
    ///
    /// Wire: verifying notification "set_nudge" [1, nudge].
    void SetNudge(double nudge);

    /// Chooses the field offset that puts the line under the machine.
    ///
    /// @return the service's integer: 1 done, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "AutoSetFieldOffset" [1] -> int.
    int AutoSetFieldOffset();

    /// Sets the field offset, a shift of the line for this field.
    ///
    /// @param offset metres.
    /// @return the service's integer: 1 done, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "SetFieldOffset" [1, offset] -> int.
    int SetFieldOffset(double offset);

    /// Asks for the field offset.
    ///
    /// @return metres; -1.0 on failure.
    ///
    /// Wire: reconnecting request "GetFieldOffset" [1] -> double.
    [[nodiscard]] double GetFieldOffset();

    /// Sets the implement offset: the line is followed shifted by it to the right, so that an
    /// implement whose middle is that far to the left of the machine's runs along the line itself.
    ///
    /// @param offset metres.
    /// @return the service's integer: 1 done, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "SetImplementOffset" [1, offset] -> int.
    int SetImplementOffset(double offset);

    /// Asks for the implement offset.
    ///
    /// @return metres; -1.0 on failure.
    ///
    /// Wire: reconnecting request "GetImplementOffset" [1] -> double.
    [[nodiscard]] double GetImplementOffset();

    /// Sets whether splines are shifted by the implement offset too.
    ///
    /// @param use true to shift splines by the implement offset, false not to.
    ///
    /// Wire: verifying notification "SetSplinesUseImplementOffset" [use]. Without a leading 1.
    void SetSplinesUseImplementOffset(bool use);

    /// Sets the implement width, which is the distance between neighbouring passes.
    ///
    /// @param width metres.
    /// @return the service's integer: 1 done, 0 refused; -1 on failure.
    ///
    /// Wire: reconnecting request "SetImplementWidth" [1, width] -> int.
    int SetImplementWidth(double width);

    /// Asks for the implement width.
    ///
    /// @return metres; -1.0 on failure.
    ///
    /// Wire: reconnecting request "GetImplementWidth" [1] -> double.
    [[nodiscard]] double GetImplementWidth();

    /// @}

    /// @defgroup position_feed Position feed
    /// @{

    /// Feeds the service one sample of the machine's position and movement.
    ///
    /// @param latitude,longitude degrees, WGS 84.
    /// @param height ellipsoid height, metres.
    /// @param course course over ground, radians clockwise from north.
    /// @param speed ground speed, metres per second.
    /// @param roll,pitch,yaw radians; yaw clockwise from north.
    /// @param rollRate,pitchRate,yawRate radians per second.
    /// @param sigmaEast,sigmaNorth,sigmaUp one-sigma accuracy, metres.
    /// @param positionValid the position can be used.
    /// @param fixQuality the quality indicator as in the NMEA sentence GGA.
    /// @param satellites number of satellites in use.
    /// @param headingValid the yaw can be used.
    /// @param reversing the machine moves in reverse.
    /// @param sampleNumber counts the samples.
    /// @param time of the sample, Unix time in seconds.
    /// @return 0 when the service can be reached, whatever became of the sample; -1 when it cannot.
    ///
    /// Wire: reconnecting notification "SetPositionData" [record]. The record is a text: the values
    /// in this order under the tags 1 to 21 (see Core::IO::ObjectStore), booleans as 0 and 1.
    int SetPositionData(double latitude, double longitude, double height, double course,
                        double speed, double roll, double pitch, double yaw, double rollRate,
                        double pitchRate, double yawRate, double sigmaEast, double sigmaNorth,
                        double sigmaUp, bool positionValid, int fixQuality, int satellites,
                        bool headingValid, bool reversing, int sampleNumber, double time);

    /// @}

    /// @defgroup tuning Controller tuning
    ///
    /// Kestrove::ETuningParameter describes the parameters; their values have no unit.
    /// @{

    /// Asks for the limits of a tuning parameter.
    ///
    /// @param parameter which one.
    /// @param lowest,start,highest receive the lowest value, the start value and the highest value;
    ///        untouched on failure.
    /// @return true when a list of exactly three limits came; false otherwise, also on failure.
    ///
    /// Wire: reconnecting request "GetTuningLimits" [parameter] -> [double lowest, double start,
    /// double highest], exactly 3.
    [[nodiscard]] bool GetTuningLimits(Kestrove::ETuningParameter parameter, double& lowest,
                                       double& start, double& highest);

    /// Sets the limits of a tuning parameter.
    ///
    /// @param parameter which one.
    /// @param lowest,start,highest the lowest value, the start value and the highest value, in
    ///        rising order.
    /// @return true when the service can be reached, whatever became of the limits; false when it
    ///         cannot.
    ///
    /// Wire: reconnecting notification "SetTuningLimits" [parameter, lowest, start, highest].
    bool SetTuningLimits(Kestrove::ETuningParameter parameter, double lowest, double start,
                         double highest);

    /// Asks for a tuning parameter.
    ///
    /// @param parameter which one.
    /// @return its value; 0.0 on failure.
    ///
    /// Wire: verifying request "get_tuning_parameter" [parameter] -> double.
    [[nodiscard]] float GetTuningParameter(Kestrove::ETuningParameter parameter);

    /// Sets a tuning parameter. The service brings a value outside the parameter's limits to the
    /// nearest one inside.
    ///
    /// @param parameter which one.
    /// @param value its new value, without a unit.
    /// @param persist whether the service keeps the value over a restart.
    ///
    /// Wire: verifying notification "set_tuning_parameter" [parameter, value, persist].
    void SetTuningParameter(Kestrove::ETuningParameter parameter, float value, bool persist);

    /// GetTuningParameter() of Kestrove::Sensitivity.
    ///
    /// @return its value; 0.0 on failure.
    ///
    /// Wire: verifying request "get_tuning_parameter" [0] -> double.
    [[nodiscard]] float GetSensitivity();

    /// GetTuningParameter() of Kestrove::Aggressiveness.
    ///
    /// @return its value; 0.0 on failure.
    ///
    /// Wire: verifying request "get_tuning_parameter" [1] -> double.
    [[nodiscard]] float GetAggressiveness();

    /// GetTuningParameter() of Kestrove::Overshoot.
    ///
    /// @return its value; 0.0 on failure.
    ///
    /// Wire: verifying request "get_tuning_parameter" [2] -> double.
    [[nodiscard]] float GetOvershoot();

    /// GetTuningParameter() of Kestrove::SpeedAdjust.
    ///
    /// @return its value; 0.0 on failure.
    ///
    /// Wire: verifying request "get_tuning_parameter" [3] -> double.
    [[nodiscard]] float GetSpeedAdjust();

    /// SetTuningParameter() of Kestrove::Sensitivity.
    ///
    /// @param value its new value, without a unit.
    /// @param persist whether the service keeps the value over a restart.
    ///
    /// Wire: verifying notification "set_tuning_parameter" [0, value, persist].
    void SetSensitivity(float value, bool persist);

    /// SetTuningParameter() of Kestrove::Aggressiveness.
    ///
    /// @param value its new value, without a unit.
    /// @param persist whether the service keeps the value over a restart.
    ///
    /// Wire: verifying notification "set_tuning_parameter" [1, value, persist].
    void SetAggressiveness(float value, bool persist);

    /// SetTuningParameter() of Kestrove::Overshoot.
    ///
    /// @param value its new value, without a unit.
    /// @param persist whether the service keeps the value over a restart.
    ///
    /// Wire: verifying notification "set_tuning_parameter" [2, value, persist].
    void SetOvershoot(float value, bool persist);

    /// SetTuningParameter() of Kestrove::SpeedAdjust.
    ///
    /// @param value its new value, without a unit.
    /// @param persist whether the service keeps the value over a restart.
    ///
    /// Wire: verifying notification "set_tuning_parameter" [3, value, persist].
    void SetSpeedAdjust(float value, bool persist);

    /// Puts the integral term of the controller back to zero.
    ///
    /// @return true when the connection is usable, whatever became of the notification; false when
    ///         it is not.
    ///
    /// Wire: verifying notification "reset_integral" [].
    bool ResetIntegral();

    /// Asks for the velocity set point.
    ///
    /// @return metres per second; 0.0 on failure.
    ///
    /// Wire: reconnecting request "GetVelocitySetPoint" [] -> [double velocity].
    [[nodiscard]] float GetVelocitySetPoint();

    /// Sets the velocity set point.
    ///
    /// @param velocity metres per second.
    ///
    /// Wire: reconnecting notification "SetVelocitySetPoint" [velocity].
    void SetVelocitySetPoint(float velocity);

    /// Asks for the size of the curve filter.
    ///
    /// @return a number of recorded points; -1 on failure.
    ///
    /// Wire: reconnecting request "GetCurveFilterSize" [1] -> int.
    [[nodiscard]] int GetCurveFilterSize();

    /// Sets the size of the curve filter.
    ///
    /// @param size a number of recorded points.
    ///
    /// Wire: reconnecting notification "SetCurveFilterSize" [1, size].
    void SetCurveFilterSize(int size);

    /// @}

    /// @defgroup events Events
    ///
    /// Each setter takes over a functor, made with `new` (see Core::Functors::MakeFunctor()), and
    /// has it called for every event of its kind from then on; null ends that. The functor that was
    /// held is deleted at once, even when it is running: a functor that replaces itself must not
    /// touch anything of its own afterwards. A setter that finds none held, also when it is given
    /// null, subscribes to the event, whether or not the connection is up; subscriptions are never
    /// withdrawn and outlive a reconnection. A functor given twice in a row is deleted and must not
    /// be. The destructor deletes none.
    ///
    /// A functor runs inside ProcessMessages() or CheckCallbacks(). An exception that it throws
    /// passes through them. A payload with too few elements, and where the number must be exact
    /// also one with too many, is dropped silently.
    /// @{

    /// Takes the functor for changes of the engage state.
    ///
    /// @param functor called with: steering is engaged; it could be engaged now; navigation is
    ///        active; the machine moves in reverse; steering was dropped by the service and not by
    ///        the operator. Owned from now on; null for none.
    ///
    /// Wire: event "cb_engage_status" [int engaged, int possible, int active, int reversing, int
    /// dropped], exactly 5.
    void
    SetEngageStatusCallback(Core::Functors::Functor5<void, bool, bool, bool, bool, bool>* functor);

    /// Takes the functor for the guidance state.
    ///
    /// @param functor called with: the number of the pass (0 the line itself, positive to its
    ///        right); the cross-track error (metres, positive right of the line); the heading error
    ///        (radians); the commanded curvature (1/m). Owned from now on; null for none.
    ///
    /// Wire: event "cb_guidance_status" [int pass, double crossTrackError, double headingError,
    /// double curvature], exactly 4.
    void
    SetGuidanceStatusCallback(Core::Functors::Functor4<void, int, double, double, double>* functor);

    /// Takes the functor for changes of the whole shift of the line.
    ///
    /// @param functor called with: the shift (metres, positive to the right). Owned from now on;
    ///        null for none.
    ///
    /// Wire: event "cb_offsets" [double shift], exactly 1.
    void SetOffsetCallback(Core::Functors::Functor1<void, double>* functor);

    /// Takes the functor of four values for changes of the wayline. The overload of five values is
    /// independent; when both are used, this one's functor is called first.
    ///
    /// @param functor called with: the wayline is complete; it is being recorded; navigation is
    ///        active; its kind (EWaylineTypeEmpty when there is none). Owned from now on; null for
    ///        none.
    ///
    /// Wire: event "cb_wayline_status" [int complete, int recording, int active, int kind, double
    /// length], at least 5.
    void SetWaylineStatusCallback(
        Core::Functors::Functor4<void, bool, bool, bool, Kestrove::EWaylineType>* functor);

    /// Takes the functor of five values for changes of the wayline.
    ///
    /// @param functor called with the four values of the other overload, and the wayline's length
    ///        so far (metres; 0 for an endless line). Owned from now on; null for none.
    ///
    /// Wire: event "cb_wayline_status" [int complete, int recording, int active, int kind, double
    /// length], at least 5.
    void SetWaylineStatusCallback(
        Core::Functors::Functor5<void, bool, bool, bool, Kestrove::EWaylineType, double>* functor);

    /// Takes the functor for changes of the implement width. Before each call, a trace line with
    /// the handler's name goes to standard output.
    ///
    /// @param functor called with: the width (metres). Owned from now on; null for none.
    ///
    /// Wire: event "cb_implement_width_changed" [double width], at least 1.
    void SetImplementWidthCallback(Core::Functors::Functor1<void, double>* functor);

    /// Takes the functor for changes of a tuning parameter. Before each call, a trace line with the
    /// handler's name goes to standard output.
    ///
    /// @param functor called with: the parameter; its value. Owned from now on; null for none.
    ///
    /// Wire: event "cb_tuning_parameter_changed" [int parameter, double value], at least 2.
    void SetTuningParameterChangedCallback(
        Core::Functors::Functor2<void, Kestrove::ETuningParameter, double>* functor);

    /// Takes the functor for the machine's place in the local frame.
    ///
    /// @param functor called with: the position (metres east and north); the heading (radians,
    ///        clockwise from north). Owned from now on; null for none.
    ///
    /// Wire: event "cb_relative_position" [double x, double y, double heading], at least 3.
    void SetRelativePositionCallback(
        Core::Functors::Functor2<void, const Core::Maths::Vector2<double>&, double>* functor);

    /// Takes the functor for the points to draw of the line that is followed.
    ///
    /// @param functor called with: the points in their order along the line (metres east and
    ///        north), possibly none. They live until the call returns. Owned from now on; null for
    ///        none.
    ///
    /// Wire: event "cb_draw_points" [int number], at least 1. Behind the number stand x and y of
    /// each point. A payload that announces more points than it carries gives those that are whole;
    /// a negative number makes std::length_error pass through to the caller that delivers events.
    void SetDrawPointsCallback(
        Core::Functors::Functor1<void, const std::vector<Core::Maths::Vector2<double>>&>* functor);

    /// @}

private:
    // The call frame that the operations share.
    bool ReconnectingGuard();
    bool VerifyingGuard();
    int RequestInt(const std::string& name, std::unique_ptr<BListC> arguments, int failure);
    double RequestDouble(const std::string& name, std::unique_ptr<BListC> arguments,
                         double failure);
    template <typename Result, typename Read>
    Result RequestList(const std::string& name, std::unique_ptr<BListC> arguments, Result failure,
                       Read read);
    int RequestIntFreeingArguments(const std::string& name, std::unique_ptr<BListC> arguments,
                                   int failure);
    double RequestDoubleFreeingArguments(const std::string& name, std::unique_ptr<BListC> arguments,
                                         double failure);
    void Notify(const std::string& name, std::unique_ptr<BListC> arguments);

    // One handler an event; each returns 0, whatever it did.
    int EngageStatusCallback(BListC* payload);
    int GuidanceStatusCallback(BListC* payload);
    int OffsetCallback(BListC* payload);
    int WaylineStatusCallback(BListC* payload);
    int ImplementWidthChangedCallback(BListC* payload);
    int TuningParameterChangedCallback(BListC* payload);
    int RelativePositionCallback(BListC* payload);
    int DrawPointsCallback(BListC* payload);
    template <typename Functor>
    void SetCallback(Functor*& slot, Functor* functor, const char* event,
                     int (CNavigationAPI::*handler)(BListC*));

    // The members and their order stay as they are: applications keep working without a rebuild.
    int m_servicePort = 5010;
    std::string m_serviceHost = "localhost";
    Core::Functors::Functor5<void, bool, bool, bool, bool, bool>* m_engageStatus = nullptr;
    Core::Functors::Functor4<void, int, double, double, double>* m_guidanceStatus = nullptr;
    Core::Functors::Functor1<void, double>* m_offsets = nullptr;
    Core::Functors::Functor4<void, bool, bool, bool, Kestrove::EWaylineType>* m_waylineStatus4 =
        nullptr;
    Core::Functors::Functor5<void, bool, bool, bool, Kestrove::EWaylineType, double>*
        m_waylineStatus5 = nullptr;
    Core::Functors::Functor1<void, double>* m_implementWidth = nullptr;
    Core::Functors::Functor2<void, Kestrove::ETuningParameter, double>* m_tuningParameter = nullptr;
    Core::Functors::Functor2<void, const Core::Maths::Vector2<double>&, double>*
        m_relativePosition = nullptr;
    Core::Functors::Functor1<void, const std::vector<Core::Maths::Vector2<double>>&>* m_drawPoints =
        nullptr;
};

#endif
