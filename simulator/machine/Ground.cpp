#include "simulator/machine/Ground.h"

#include "simulator/machine/Pose.h"
#include "simulator/machine/Steering.h"

namespace {

constexpr std::uint64_t kGroundStream = 2;
constexpr double kFieldSlip = Radians(0.4);
constexpr double kSlipCorrelationSeconds = 2.0;

} // namespace

CGround::CGround(EGround ground, std::uint64_t seed)
    : m_random(seed, kGroundStream), m_slip(ground == EGround::Field ? kFieldSlip : 0.0,
                                            kSlipCorrelationSeconds, kMachineStepSeconds)
{
}

double CGround::NextSideSlip()
{
    return m_slip.Next(m_random);
}
