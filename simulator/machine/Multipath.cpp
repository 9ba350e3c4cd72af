#include "simulator/machine/Multipath.h"

#include <cmath>

namespace {

constexpr std::uint64_t kMultipathStream = 8;

} // namespace

CMultipath::CMultipath(std::uint64_t seed, double sampleSeconds)
    : m_random(seed, kMultipathStream), m_comes(1.0 - std::exp(-sampleSeconds / kSecondsBetween)),
      m_goes(1.0 - std::exp(-sampleSeconds / kSecondsBeside))
{
}

Point CMultipath::Next(double sigma)
{
    if (sigma <= 0.0) {
        m_isBeside = false;
        return {};
    }
    const bool changes = m_random.Uniform() < (m_isBeside ? m_goes : m_comes);
    if (changes) {
        m_isBeside = !m_isBeside;
        m_jump.x = m_random.Gaussian();
        m_jump.y = m_random.Gaussian();
    }
    return m_isBeside ? Point{sigma * m_jump.x, sigma * m_jump.y} : Point{};
}
