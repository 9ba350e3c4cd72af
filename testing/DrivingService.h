#ifndef KESTROVE_TESTING_DRIVINGSERVICE_H
#define KESTROVE_TESTING_DRIVINGSERVICE_H

/// @file
/// The navigation service with a simulated machine that runs inside a test.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Kestrove::Testing {

/// What the simulated machine drives on.
enum class EDrivingGround
{
    Firm,  ///< the machine does not slip
    Field, ///< it slips aside, at random
};

/// How well the machine's receiver measures.
enum class EDrivingReceiver
{
    Ideal, ///< without error
    Rtk,   ///< to a centimetre or so
    Sbas,  ///< to decimetres
};

/// What a driving service starts with. Metres, seconds, radians; x east, y north, headings
/// clockwise from north.
struct CDrivingOptions
{
    std::uint64_t seed = 1; ///< all that is random comes from it: the same seed repeats a test
    EDrivingGround ground = EDrivingGround::Firm;      ///< what the machine drives on
    EDrivingReceiver receiver = EDrivingReceiver::Rtk; ///< how well it measures
    double x = 0.0;                                    ///< where the machine starts
    double y = 0.0;                                    ///< where the machine starts
    double heading = 0.0;                              ///< at the start
    double speed = 0.0;                                ///< at the start and as the first set point
    double centreBias = 0.0; ///< how far the wheels stand right of what the steering sensor says
    double backlash = 0.0;   ///< play between the steering actuator and the wheels
};

/// How the machine really stands, which the application cannot see.
struct CTrueState
{
    double time = 0.0;            ///< since the start
    double x = 0.0;               ///< of the middle of the rear axle
    double y = 0.0;               ///< of the middle of the rear axle
    double heading = 0.0;         ///< in [0, 2 pi)
    double speed = 0.0;           ///< negative backwards
    double steeringAngle = 0.0;   ///< as the sensor says, positive to the right
    double crossTrackError = 0.0; ///< of the machine to the followed pass; 0 without a line
    double implementCrossTrackError = 0.0; ///< of the implement to the pass that it works
    int pass = 0;                          ///< the followed one
    bool isEngaged = false;                ///< steering is
    bool isNavigationActive = false;       ///< a line is being followed
    std::string dropReason; ///< why the service dropped steering; empty unless it did
};

/// A navigation service for tests that drives: the simulated machine of `navigation-simulator`, on
/// port 5010 from construction on, in the test's own process. Its time stands until the test moves
/// it on, so that hours take a moment and every run is the same.
///
///     CDrivingOptions options;
///     options.speed = 2.0;
///     CDrivingService service(options);
///     CNavigationAPI navigation;
///     ... the application sets a line, starts navigation and engages ...
///     service.Advance(10.0);
///     navigation.CheckCallbacks(); // its events, which are all there
///     EXPECT_LT(std::abs(service.State().crossTrackError), 0.05);
///
/// Thread safety: every operation may be called from every thread, one advance at a time. The
/// service runs on a thread of its own, so that a test may block in the library meanwhile.
class CDrivingService
{
public:
    /// A step of the machine, seconds.
    static constexpr double kStepSeconds = 0.02;
    /// What can be advanced by at once, seconds: the events of so much fit what a client keeps.
    static constexpr double kLongestAdvanceSeconds = 60.0;

    /// Starts the service.
    ///
    /// @param options what the world starts with; copied.
    /// @throw std::runtime_error when it cannot listen, for example because the port is taken.
    explicit CDrivingService(const CDrivingOptions& options = {});
    /// Closes the listener and every connection.
    ~CDrivingService();
    CDrivingService(const CDrivingService&) = delete;
    CDrivingService& operator=(const CDrivingService&) = delete;

    /// Moves time on. What clients have sent before takes effect before, and when it returns, the
    /// events of the steps have been handed to the system: CheckCallbacks() delivers them.
    ///
    /// @param seconds a whole number of steps, 0 to 60.
    /// @return the time then.
    /// @throw std::invalid_argument for any other number.
    double Advance(double seconds);
    /// Moves time on, a tenth of a second at once, until something holds.
    ///
    /// @param predicate is asked before the first and after every tenth; it may call the
    ///        application, for example CheckCallbacks().
    /// @param limitSeconds at most about so much time.
    /// @return whether it holds.
    bool AdvanceUntil(const std::function<bool()>& predicate, double limitSeconds);
    /// @return the time since the start, seconds.
    [[nodiscard]] double Time() const;
    /// @return how the machine really stands now.
    [[nodiscard]] CTrueState State() const;
    /// @return what the service has logged, a line each: what it refused and dropped, and why.
    [[nodiscard]] std::vector<std::string> Log() const;

private:
    class CState;
    std::unique_ptr<CState> m_state;
};

} // namespace Kestrove::Testing

#endif
