#ifndef KESTROVE_TESTS_WAYLINE_GENERATOR_H
#define KESTROVE_TESTS_WAYLINE_GENERATOR_H

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "wayline/Wayline.h"

/// The cases of every property.
constexpr int kCases = 10000;

/// Arbitrary values from a fixed seed: the same ones in every run.
class CGenerator
{
public:
    int Int(int lowest, int highest)
    {
        return std::uniform_int_distribution<int>(lowest, highest)(m_random);
    }
    bool OneIn(int chances) { return Int(1, chances) == 1; }
    /// Any bits: zeros, infinities and NaNs of every kind included.
    double AnyDouble()
    {
        const std::uint64_t bits = m_random();
        double number = 0.0;
        std::memcpy(&number, &bits, sizeof number);
        return number;
    }
    /// A position, or once in four any number that is finite.
    double FiniteDouble()
    {
        const double number = AnyDouble();
        if (OneIn(4) && std::isfinite(number)) {
            return number;
        }
        return std::uniform_real_distribution<double>(-1e4, 1e4)(m_random);
    }
    template <typename Element>
    Element OneOf(const std::vector<Element>& elements)
    {
        return elements[static_cast<std::size_t>(Int(0, static_cast<int>(elements.size()) - 1))];
    }

private:
    std::mt19937_64 m_random{20240601};
};

using NextDouble = double (CGenerator::*)();

/// A wayline of a kind with arbitrary values, which `next` gives, and `fewestPoints` to 12 points
/// where the kind has points; null for a code that is not a kind's.
Kestrove::WaylinePtr AnyWayline(CGenerator& generator, int code, NextDouble next,
                                int fewestPoints = 0);

#endif
