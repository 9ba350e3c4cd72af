#ifndef KESTROVE_SIMULATOR_GUIDANCE_STEERINGRESPONSE_H
#define KESTROVE_SIMULATOR_GUIDANCE_STEERINGRESPONSE_H

#include <array>
#include <cstddef>
#include <vector>

/// How an unknown machine answers commands of curvature: after which dead time, and with which
/// first-order lag.
///
/// Several answers are calculated at a time, and the one believed is that whose changes fitted the
/// changes of the measured yaw rate best over the last seconds (a bank of models, of which the most
/// likely is taken: Bar-Shalom, Li and Kirubarajan, "Estimation with Applications to Tracking and
/// Navigation", 2001, section 11.6). Until the machine has turned enough to judge, it is that of
/// the simulated machine.
class CSteeringResponse
{
public:
    CSteeringResponse();

    /// Moves on by a step of the machine.
    /// @param commanded 1/m, the curvature commanded now.
    void Step(double commanded);
    /// The curvature that the commands should have brought so many seconds ago; from those given by
    /// now for a time to come, which is negative.
    double CurvatureAgo(double seconds) const { return Of(m_believed, seconds); }
    /// Learns from the yaw rate having changed by `change`, radians per second, from `from` to `to`
    /// seconds ago at `speed`, metres per second.
    void Learn(double from, double to, double speed, double change);

    /// Dead time and lag of the answer believed, seconds.
    double DeadTime() const;
    double Lag() const;

private:
    /// How far back and ahead answers are known, in steps.
    static constexpr std::size_t kRemembered = 128;

    struct Answer
    {
        std::size_t deadSteps;
        double lag; ///< seconds
        double curvature = 0.0;
        double misfit = 0.0; ///< of the changes of the yaw rate, squared, of late
        std::array<double, kRemembered> past{};
    };

    double Of(std::size_t answer, double seconds) const;
    double CommandAgo(std::size_t steps) const;

    std::vector<Answer> m_answers;
    std::size_t m_believed;
    std::array<double, kRemembered> m_commands{};
    std::size_t m_next = 0;
};

#endif
