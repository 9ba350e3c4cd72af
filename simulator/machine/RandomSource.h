#ifndef KESTROVE_SIMULATOR_MACHINE_RANDOMSOURCE_H
#define KESTROVE_SIMULATOR_MACHINE_RANDOMSOURCE_H

#include <cstdint>
#include <random>

/// A stream of normally distributed numbers that depends on nothing but its seed, so that a run can
/// be repeated bit for bit on every standard library: std::normal_distribution may differ between
/// them, std::mt19937_64 may not.
class CRandomSource
{
public:
    /// @param stream distinguishes the users of one seed, so that one of them drawing more numbers
    ///        does not change what the others draw.
    CRandomSource(std::uint64_t seed, std::uint64_t stream);

    /// A number of mean 0 and standard deviation 1.
    double Gaussian();
    /// A number between 0 and 1, never one of the two.
    double Uniform();

private:
    std::mt19937_64 m_engine;
    double m_spare = 0.0;
    bool m_hasSpare = false;
};

/// Noise that forgets itself over a correlation time: a first-order Gauss-Markov process (Brown and
/// Hwang, "Introduction to Random Signals and Applied Kalman Filtering", 1997, section 2.11).
class CCorrelatedNoise
{
public:
    /// @param sigma the standard deviation in the long run.
    /// @param correlationSeconds after which the correlation has fallen to 1/e.
    /// @param stepSeconds between two calls of Next().
    CCorrelatedNoise(double sigma, double correlationSeconds, double stepSeconds);

    /// The next value; the first has the full standard deviation too.
    double Next(CRandomSource& random);

private:
    double m_keep;
    double m_fresh;
    double m_sigma;
    double m_value = 0.0;
    bool m_started = false;
};

#endif
