#ifndef KESTROVE_SIMULATOR_WORLD_SAMPLEJUDGE_H
#define KESTROVE_SIMULATOR_WORLD_SAMPLEJUDGE_H

#include <optional>
#include <string>

#include "simulator/world/FedPosition.h"

/// How good positions from outside are at least for steering by them.
enum class ELeastFix
{
    Any,
    Gps,
    Dgps,
    RtkFloat,
    RtkFixed,
};

/// Whether a fix quality (as in NMEA GGA) is as good as that.
bool IsGoodFix(int quality, ELeastFix least);

/// What is wrong with a sample for steering by it; empty when nothing is.
std::string PoorSample(const FedPosition& sample, ELeastFix least);

/// Distinguishes samples that are new from those that have been there.
class CSampleOrder
{
public:
    /// What is wrong with a sample's place among the others; empty when nothing is, and it is the
    /// newest from then on. One sample alone that repeats the newest in everything, or that was
    /// measured before it, or that has a lower number and is not measured later, does not become
    /// it.
    std::string Problem(const FedPosition& sample);
    /// Begins anew: the next sample is the newest.
    void Reset() { m_newest.reset(); }

private:
    std::optional<FedPosition> m_newest;
};

#endif
