#include "report/ErrorFigures.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace {

/// The place share * (n - 1) among the sorted sizes, interpolated.
double SortedShare(std::vector<double> errors, double share)
{
    for (double& error : errors) {
        error = std::abs(error);
    }
    std::sort(errors.begin(), errors.end());
    const double place = share * static_cast<double>(errors.size() - 1);
    const auto rank = static_cast<std::size_t>(place);
    const std::size_t next = std::min(rank + 1, errors.size() - 1);
    return errors[rank] + (place - static_cast<double>(rank)) * (errors[next] - errors[rank]);
}

CErrorFigures FiguresOf(const std::vector<double>& errors)
{
    CErrorFigures figures;
    for (const double error : errors) {
        figures.Add(error, 0.1);
    }
    return figures;
}

} // namespace

TEST(ErrorFigures, OfASineAgreeWithTheirClosedForms)
{
    constexpr int kCount = 100000;
    constexpr double kPi = 3.14159265358979323846;
    std::vector<double> errors;
    for (int i = 0; i < kCount; ++i) {
        errors.push_back(0.01 + 0.05 * std::sin(2.0 * kPi * (i + 0.5) / kCount));
    }
    const ErrorSummary summary = FiguresOf(errors).Summary();
    EXPECT_EQ(kCount, static_cast<int>(summary.count));
    EXPECT_NEAR(0.1 * kCount, summary.seconds, 1e-6);
    EXPECT_NEAR(0.01, summary.mean, 1e-12);
    EXPECT_NEAR(std::sqrt(0.01 * 0.01 + 0.05 * 0.05 / 2.0), summary.rms, 1e-12);
    EXPECT_NEAR(0.06, summary.worst, 1e-9);
}

TEST(ErrorFigures, OfASymmetricSineGiveWhat95PercentDoNotExceed)
{
    constexpr int kCount = 100000;
    constexpr double kPi = 3.14159265358979323846;
    std::vector<double> errors;
    for (int i = 0; i < kCount; ++i) {
        errors.push_back(0.05 * std::sin(2.0 * kPi * (i + 0.5) / kCount));
    }
    const ErrorSummary summary = FiguresOf(errors).Summary();
    EXPECT_NEAR(0.05 * std::sin(0.95 * kPi / 2.0), summary.notExceeded95,
                CErrorHistogram::kBinMetres);
    EXPECT_NEAR(0.05 * 2.0 / kPi, summary.meanSize, 1e-9);
}

TEST(ErrorFigures, FindSharesAsExactlyAsBinsAreWideWhateverTheErrors)
{
    std::mt19937 random(7);
    for (const double size : {0.0005, 0.02, 0.7, 3.0, 500.0}) {
        for (const int count : {20, 21, 100, 5000}) {
            std::normal_distribution<double> spread(0.1 * size, size);
            std::vector<double> errors;
            for (int i = 0; i < count; ++i) {
                errors.push_back(spread(random));
            }
            const CErrorFigures figures = FiguresOf(errors);
            for (const double share : {0.5, 0.95, 0.98}) {
                const double exact = SortedShare(errors, share);
                EXPECT_NEAR(exact, figures.Histogram().NotExceededBy(share),
                            CErrorHistogram::kBinMetres + 1e-3 * exact)
                    << size << ' ' << count << ' ' << share;
            }
        }
    }
}

TEST(ErrorFigures, OfTooFewSamplesHaveNoShare)
{
    EXPECT_TRUE(std::isnan(FiguresOf(std::vector<double>(19, 0.1)).Summary().notExceeded95));
    EXPECT_NEAR(0.1, FiguresOf(std::vector<double>(20, 0.1)).Summary().notExceeded95, 1e-4);
}

TEST(ErrorFigures, KeepTheirDigitsOverManySamples)
{
    CErrorFigures figures;
    for (int i = 0; i < 300'000; ++i) {
        figures.Add(i % 2 == 0 ? 1000.01 : 1000.03, 0.01);
    }
    EXPECT_NEAR(1000.02, figures.Summary().mean, 1e-9);
    EXPECT_NEAR(3000.0, figures.Summary().seconds, 1e-4);
}

TEST(ErrorHistogram, CountsBothSidesOfTheLine)
{
    CErrorHistogram histogram;
    for (const double error : {-0.031, -0.0105, 0.0, 0.0104, 0.0106, 0.5}) {
        histogram.Add(error);
    }
    EXPECT_EQ(1U, histogram.CountWithin(-0.04, -0.02));
    EXPECT_EQ(1U, histogram.CountWithin(-0.02, 0.0));
    EXPECT_EQ(3U, histogram.CountWithin(0.0, 0.02));
    EXPECT_EQ(5U, histogram.CountWithin(-0.1, 0.1));
}

TEST(ErrorHistogram, TakesTheLargestErrorThereIs)
{
    CErrorHistogram histogram;
    histogram.Add(1e300);
    EXPECT_GE(histogram.NotExceededBy(1.0), 1e8);
    EXPECT_EQ(0.0, CErrorHistogram().NotExceededBy(0.95));
}
