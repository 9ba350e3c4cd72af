#include "examples/drive_record.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iomanip>
#include <iterator>
#include <limits>
#include <ostream>
#include <sstream>
#include <utility>

namespace {

constexpr double kSamplePeriod = 0.1;
constexpr double kSettledError = 0.05;
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

using SamplesC = std::vector<SDriveSample>;

/// The first sample from which on the error stays within the limit.
SamplesC::const_iterator Settled(const SamplesC& samples)
{
    const auto lastOutside =
        std::find_if(samples.rbegin(), samples.rend(), [](const SDriveSample& sample) {
            return std::abs(sample.crossTrackError) > kSettledError;
        });
    return lastOutside.base();
}

/// How far the machine went beyond the line, seen from the side on which it was first off it.
double Overshoot(const SamplesC& samples)
{
    const auto first = std::find_if(samples.begin(), samples.end(), [](const SDriveSample& sample) {
        return std::abs(sample.crossTrackError) > kSettledError;
    });
    if (first == samples.end()) {
        return 0.0; // it never was
    }
    const double side = first->crossTrackError < 0.0 ? -1.0 : 1.0;
    double overshoot = 0.0;
    for (auto sample = first; sample != samples.end(); ++sample) {
        overshoot = std::max(overshoot, -side * sample->crossTrackError);
    }
    return overshoot;
}

double Error95(SamplesC::const_iterator first, SamplesC::const_iterator last)
{
    std::vector<double> errors;
    std::transform(first, last, std::back_inserter(errors),
                   [](const SDriveSample& sample) { return std::abs(sample.crossTrackError); });
    std::sort(errors.begin(), errors.end());
    // The nearest rank, which is one of the errors that occurred.
    const double rank = std::ceil(0.95 * static_cast<double>(errors.size()));
    return errors.empty() ? kNone : errors[static_cast<std::size_t>(rank) - 1];
}

std::string Number(double value, const char* unit)
{
    std::ostringstream text;
    if (std::isnan(value)) {
        text << "never";
    } else {
        text << std::fixed << std::setprecision(1) << value << ' ' << unit;
    }
    return text.str();
}

void PrintRow(std::ostream& stream, const std::string& name, const std::string& driven,
              const std::string& settled, const std::string& overshoot, const std::string& error)
{
    stream << "  " << std::left << std::setw(22) << name << std::right << std::setw(10) << driven
           << std::setw(15) << settled << std::setw(12) << overshoot << std::setw(14) << error
           << '\n';
}

} // namespace

void CDriveRecord::BeginLeg(std::string name)
{
    m_legs.push_back({std::move(name), {}, {}});
}

void CDriveRecord::Add(const Core::Maths::Vector2<double>& position, double crossTrackError)
{
    if (m_legs.empty()) {
        return;
    }
    if (m_count > 0) {
        m_last.distance +=
            std::hypot(position.x - m_last.position.x, position.y - m_last.position.y);
    }
    m_last.time = kSamplePeriod * static_cast<double>(m_count++);
    m_last.position = position;
    m_last.crossTrackError = crossTrackError;
    m_legs.back().samples.push_back(m_last);
}

void CDriveRecord::AddPass(const PointsC& points)
{
    if (!m_legs.empty()) {
        m_legs.back().passes.push_back(points);
    }
}

double CDriveRecord::LegDistance() const
{
    const bool isEmpty = m_legs.empty() || m_legs.back().samples.empty();
    return isEmpty ? 0.0 : m_last.distance - m_legs.back().samples.front().distance;
}

SLegFigures Evaluate(const SDriveLeg& leg)
{
    const SamplesC& samples = leg.samples;
    if (samples.empty()) {
        return {kNone, kNone, kNone};
    }
    const auto settled = Settled(samples);
    const double settleDistance =
        settled == samples.end() ? kNone : settled->distance - samples.front().distance;
    return {settleDistance, Overshoot(samples), Error95(settled, samples.end())};
}

void PrintFigures(std::ostream& stream, const CDriveRecord& record)
{
    PrintRow(stream, "leg", "driven", "within 5 cm", "overshoot", "95 % error");
    for (const SDriveLeg& leg : record.Legs()) {
        const SLegFigures figures = Evaluate(leg);
        const double driven =
            leg.samples.empty() ? 0.0 : leg.samples.back().distance - leg.samples.front().distance;
        PrintRow(stream, leg.name, Number(driven, "m"), Number(figures.settleDistance, "m"),
                 Number(100.0 * figures.overshoot, "cm"), Number(100.0 * figures.error95, "cm"));
    }
}
