#include "simulator/world/SampleJudge.h"

#include <iomanip>
#include <sstream>

namespace {

/// Steering needs a position at least as good, metres of one sigma.
constexpr double kGreatestSigma = 0.5;

/// How good a fix quality is; 0 for one that is not a measurement of satellites.
int RankOf(int quality)
{
    switch (quality) {
    case 1:
        return 1;
    case 2:
    case 3:
    case 9:
        return 2;
    case 5:
        return 3;
    case 4:
        return 4;
    default:
        return 0;
    }
}

const char* NameOf(ELeastFix fix)
{
    switch (fix) {
    case ELeastFix::Gps:
        return "GPS";
    case ELeastFix::Dgps:
        return "DGPS";
    case ELeastFix::RtkFloat:
        return "RTK float";
    case ELeastFix::RtkFixed:
        return "RTK fixed";
    case ELeastFix::Any:
        break;
    }
    return "any";
}

} // namespace

bool IsGoodFix(int quality, ELeastFix least)
{
    return RankOf(quality) >= static_cast<int>(least);
}

std::string PoorSample(const FedPosition& sample, ELeastFix least)
{
    std::ostringstream problem;
    if (!IsGoodFix(sample.fixQuality, least)) {
        problem << "the fed position's fix quality " << sample.fixQuality << " is worse than "
                << NameOf(least);
    } else if (sample.sigma > kGreatestSigma) {
        problem << std::fixed << std::setprecision(2) << "the fed position's sigma of "
                << sample.sigma << " m is more than " << kGreatestSigma << " m";
    }
    return problem.str();
}

std::string CSampleOrder::Problem(const FedPosition& sample)
{
    if (m_newest) {
        if (sample == *m_newest) {
            return "the sample repeats the one before";
        }
        const bool older = sample.time < m_newest->time;
        const bool before = sample.number < m_newest->number && sample.time <= m_newest->time;
        if (older || before) {
            return "the sample is older than one before";
        }
    }
    m_newest = sample;
    return {};
}
