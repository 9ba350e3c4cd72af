#include "report/ErrorFigures.h"

#include <algorithm>
#include <cmath>

#include "report/DriveSample.h"

namespace {

constexpr double kFineMetres = 1.0; // up to here bins have one width
constexpr int kFineBins = 10000;
constexpr double kCoarseRatio = 1.001;
constexpr double kLargestMetres = 1e9;

int BinOf(double size)
{
    if (size < kFineMetres) {
        return std::min(kFineBins - 1, static_cast<int>(size / CErrorHistogram::kBinMetres));
    }
    const double steps = std::log(std::min(size, kLargestMetres)) / std::log(kCoarseRatio);
    return kFineBins + static_cast<int>(steps);
}

double LowEdgeOf(int bin)
{
    return bin <= kFineBins ? bin * CErrorHistogram::kBinMetres
                            : std::pow(kCoarseRatio, bin - kFineBins);
}

} // namespace

void CErrorHistogram::Add(double error)
{
    Bin& bin = m_bins[BinOf(std::abs(error))];
    ++(error < 0.0 ? bin.left : bin.right);
    ++m_count;
}

/// The error at a place in their order by size, taken to be spread evenly over its bin.
double CErrorHistogram::InBin(std::uint64_t rank) const
{
    std::uint64_t below = 0;
    for (const auto& [number, bin] : m_bins) {
        const std::uint64_t count = bin.left + bin.right;
        if (rank < below + count) {
            const double share =
                (static_cast<double>(rank - below) + 0.5) / static_cast<double>(count);
            return LowEdgeOf(number) + share * (LowEdgeOf(number + 1) - LowEdgeOf(number));
        }
        below += count;
    }
    return 0.0;
}

double CErrorHistogram::NotExceededBy(double share) const
{
    if (m_count == 0) {
        return 0.0;
    }
    const double place = share * static_cast<double>(m_count - 1);
    const auto rank = static_cast<std::uint64_t>(place);
    const double low = InBin(rank);
    const double high = InBin(std::min(rank + 1, m_count - 1));
    return low + (place - static_cast<double>(rank)) * (high - low);
}

std::uint64_t CErrorHistogram::CountWithin(double low, double high) const
{
    std::uint64_t count = 0;
    for (const auto& [number, bin] : m_bins) {
        const double middle = (LowEdgeOf(number) + LowEdgeOf(number + 1)) / 2.0;
        count += low <= middle && middle < high ? bin.right : 0;
        count += low <= -middle && -middle < high ? bin.left : 0;
    }
    return count;
}

void CErrorFigures::Add(double error, double seconds)
{
    m_histogram.Add(error);
    ++m_count;
    m_seconds += seconds;
    // Means that are carried along lose no digits however many there are.
    const double weight = 1.0 / static_cast<double>(m_count);
    m_mean += (error - m_mean) * weight;
    m_meanSize += (std::abs(error) - m_meanSize) * weight;
    m_meanSquare += (error * error - m_meanSquare) * weight;
    m_worst = std::max(m_worst, std::abs(error));
}

ErrorSummary CErrorFigures::Summary() const
{
    ErrorSummary summary;
    summary.count = m_count;
    summary.seconds = m_seconds;
    summary.mean = m_mean;
    summary.meanSize = m_meanSize;
    summary.rms = std::sqrt(m_meanSquare);
    summary.worst = m_worst;
    summary.notExceeded95 = m_count < kFewestForShare
                                ? DriveSample::kUnknown
                                : std::min(m_worst, m_histogram.NotExceededBy(0.95));
    return summary;
}
