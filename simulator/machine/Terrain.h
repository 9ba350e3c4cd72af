#ifndef KESTROVE_SIMULATOR_MACHINE_TERRAIN_H
#define KESTROVE_SIMULATOR_MACHINE_TERRAIN_H

#include <cstdint>
#include <vector>

#include "simulator/machine/Pose.h"

/// How the ground lies.
enum class ETerrain
{
    Flat,
    Slope,   ///< a plane that falls towards the east
    Rolling, ///< waves of 15 m to 60 m, whose directions and places come from the seed
};

/// The ground of a simulation.
struct TerrainOptions
{
    ETerrain kind = ETerrain::Flat;
    double slope = 0.0; ///< radians, of ETerrain::Slope; negative: it falls towards the west
};

/// How a machine leans, radians.
struct Attitude
{
    double roll = 0.0;  ///< positive with the right side down
    double pitch = 0.0; ///< positive with the front up
};

/// The lie of the ground, and how a machine that stands on it leans.
class CTerrain
{
public:
    CTerrain(const TerrainOptions& options, std::uint64_t seed);

    /// By how much the ground rises a metre towards the east (x) and towards the north (y).
    Point Gradient(const Point& place) const;
    /// How a machine leans whose wheels stand there. Exactly 0 on flat ground.
    Attitude At(const Pose& pose) const;
    /// How a machine of that heading leans where the ground rises so.
    static Attitude Leaning(const Point& gradient, double heading);

private:
    struct Wave
    {
        Point perMetre; ///< radians a metre towards the east and the north
        double phase;   ///< radians
        double height;  ///< metres from the middle to the top
    };

    Point m_plane;
    std::vector<Wave> m_waves;
};

#endif
