#include "simulator/machine/Terrain.h"

#include <cmath>

#include "simulator/machine/RandomSource.h"

namespace {

constexpr std::uint64_t kTerrainStream = 6;

/// Waves as they come on rolling fields: the shorter, the lower.
constexpr struct
{
    double length;   ///< metres
    double steepest; ///< radians
} kWaves[] = {{60.0, Radians(3.0)}, {35.0, Radians(2.0)}, {15.0, Radians(1.0)}};

} // namespace

CTerrain::CTerrain(const TerrainOptions& options, std::uint64_t seed)
{
    if (options.kind == ETerrain::Slope) {
        m_plane = {-std::tan(options.slope), 0.0};
    }
    if (options.kind != ETerrain::Rolling) {
        return;
    }
    CRandomSource random(seed, kTerrainStream);
    for (const auto& wave : kWaves) {
        const double direction = 2.0 * kPi * random.Uniform();
        const double phase = 2.0 * kPi * random.Uniform();
        const double perMetre = 2.0 * kPi / wave.length;
        m_waves.push_back({{perMetre * std::sin(direction), perMetre * std::cos(direction)},
                           phase,
                           std::tan(wave.steepest) / perMetre});
    }
}

Point CTerrain::Gradient(const Point& place) const
{
    Point gradient = m_plane;
    for (const Wave& wave : m_waves) {
        const double angle = wave.perMetre.x * place.x + wave.perMetre.y * place.y + wave.phase;
        const double rise = wave.height * std::cos(angle);
        gradient.x += rise * wave.perMetre.x;
        gradient.y += rise * wave.perMetre.y;
    }
    return gradient;
}

Attitude CTerrain::Leaning(const Point& gradient, double heading)
{
    if (gradient.x == 0.0 && gradient.y == 0.0) {
        return {};
    }
    const Point along = Along(heading);
    const Point right = RightOf(heading);
    const double ahead = gradient.x * along.x + gradient.y * along.y;
    const double aside = gradient.x * right.x + gradient.y * right.y;
    // The machine's upright is that of the ground, (-x, -y, 1) of the gradient made as long as 1.
    const double length = std::sqrt(1.0 + ahead * ahead + aside * aside);
    return {std::asin(-aside / length), std::atan(ahead)};
}

Attitude CTerrain::At(const Pose& pose) const
{
    return Leaning(Gradient(pose.position), pose.heading);
}
