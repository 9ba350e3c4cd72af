#include "simulator/machine/RandomSource.h"

#include <cmath>

#include "simulator/machine/Pose.h"

namespace {

std::mt19937_64 SeededEngine(std::uint64_t seed, std::uint64_t stream)
{
    std::seed_seq sequence{static_cast<std::uint32_t>(seed), static_cast<std::uint32_t>(seed >> 32),
                           static_cast<std::uint32_t>(stream)};
    return std::mt19937_64(sequence);
}

} // namespace

CRandomSource::CRandomSource(std::uint64_t seed, std::uint64_t stream)
    : m_engine(SeededEngine(seed, stream))
{
}

double CRandomSource::Uniform()
{
    // The upper 53 bits, moved off 0, whose logarithm is needed.
    return (static_cast<double>(m_engine() >> 11) + 0.5) * 0x1p-53;
}

double CRandomSource::Gaussian()
{
    // Box and Muller, "A Note on the Generation of Random Normal Deviates", 1958.
    if (m_hasSpare) {
        m_hasSpare = false;
        return m_spare;
    }
    const double radius = std::sqrt(-2.0 * std::log(Uniform()));
    const double angle = 2.0 * kPi * Uniform();
    m_spare = radius * std::sin(angle);
    m_hasSpare = true;
    return radius * std::cos(angle);
}

CCorrelatedNoise::CCorrelatedNoise(double sigma, double correlationSeconds, double stepSeconds)
    : m_keep(std::exp(-stepSeconds / correlationSeconds)),
      m_fresh(sigma * std::sqrt(1.0 - m_keep * m_keep)), m_sigma(sigma)
{
}

double CCorrelatedNoise::Next(CRandomSource& random)
{
    const double fresh = random.Gaussian();
    m_value = m_started ? m_keep * m_value + m_fresh * fresh : m_sigma * fresh;
    m_started = true;
    return m_value;
}
