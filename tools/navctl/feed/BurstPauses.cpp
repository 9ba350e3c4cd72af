#include "tools/navctl/feed/BurstPauses.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

/// A burst begins with one of a few kinds; noise must not make more of them.
constexpr std::size_t kMostBeginnings = 64;
constexpr int kMostInARow = 64;
/// How many bursts are enough again when one has come unevenly, but the pauses were certain.
constexpr int kInARowAgain = 3;
/// How far from its usual place in the period a burst may begin: by a part of the period, and by
/// what a busy machine makes of it, seconds.
constexpr double kMostShift = 0.1;
constexpr double kShiftOfMachine = 0.01;

} // namespace

void CBurstPauses::TakeBurst(NmeaKind begins, double arrival, double period)
{
    if (m_latest.size() >= kMostBeginnings) {
        m_latest.clear();
    }
    const auto [before, isFirst] = m_latest.try_emplace(begins, arrival);
    if (isFirst) {
        // Or the sentence that bursts begin with is lost: nothing to compare with.
        return;
    }
    const double shift = std::abs(std::remainder(arrival - before->second, period));
    before->second = arrival;
    if (shift > std::max(kMostShift * period, kShiftOfMachine)) {
        TakeUneven();
        return;
    }
    m_inARow = std::min(m_inARow + 1, kMostInARow);
    if (AreCertain()) {
        m_needed = kFewestInARow;
        m_wereCertain = true;
    }
}

void CBurstPauses::TakeUnclear()
{
    m_latest.clear();
    if (!m_wereCertain) {
        NeedMore();
    }
}

void CBurstPauses::TakeUneven()
{
    if (m_wereCertain) {
        m_inARow = m_needed - kInARowAgain;
    } else {
        NeedMore();
    }
}

void CBurstPauses::TakeContradiction()
{
    m_latest.clear();
    if (m_wereCertain) {
        m_inARow = 0;
        m_wereCertain = false;
    } else {
        NeedMore();
    }
}

void CBurstPauses::NeedMore()
{
    m_inARow = 0;
    m_needed = std::min(2 * m_needed, kMostInARow);
}
