#ifndef KESTROVE_REPORT_ERRORFIGURES_H
#define KESTROVE_REPORT_ERRORFIGURES_H

#include <cstdint>
#include <map>

/// How often errors of which size came: in bins of 0.1 mm up to 1 m, and of 0.1 % of the error
/// beyond. So memory does not grow with the number of errors, and what is not exceeded by a share
/// of them is known as exactly as the bins are wide.
///
/// Thread safety: none.
class CErrorHistogram
{
public:
    /// The width of a bin up to 1 m, metres.
    static constexpr double kBinMetres = 1e-4;

    void Add(double error);
    /// What a share of the errors does not exceed in size, interpolated as between all of them in
    /// their order: of n, the place share * (n - 1) counts. 0 without any.
    ///
    /// @param share 0 to 1.
    double NotExceededBy(double share) const;
    /// How many errors lie from `low` to below `high`; bins count where their middle is.
    std::uint64_t CountWithin(double low, double high) const;

private:
    /// Of errors of a size, by sign.
    struct Bin
    {
        std::uint64_t left = 0;
        std::uint64_t right = 0;
    };

    double InBin(std::uint64_t rank) const;

    std::map<int, Bin> m_bins; ///< by size
    std::uint64_t m_count = 0;
};

/// What is said of errors.
struct ErrorSummary
{
    std::uint64_t count = 0;
    double seconds = 0.0;
    double mean = 0.0; ///< with their signs: metres by which the machine stands to the right
    double meanSize = 0.0;
    double rms = 0.0;
    double notExceeded95 = 0.0; ///< by 95 %; not a number where they are too few for that
    double worst = 0.0;         ///< the largest without its sign
};

/// Gathers errors, in metres, and what they come to.
///
/// Thread safety: none.
class CErrorFigures
{
public:
    /// As many at least are needed to say what 95 % do not exceed: of fewer, one is more than 5 %.
    static constexpr std::uint64_t kFewestForShare = 20;

    /// @param error finite, metres.
    /// @param seconds for how long it stands.
    void Add(double error, double seconds);
    ErrorSummary Summary() const;
    std::uint64_t Count() const { return m_count; }
    const CErrorHistogram& Histogram() const { return m_histogram; }

private:
    CErrorHistogram m_histogram;
    std::uint64_t m_count = 0;
    double m_seconds = 0.0;
    double m_mean = 0.0;
    double m_meanSize = 0.0;
    double m_meanSquare = 0.0;
    double m_worst = 0.0;
};

#endif
