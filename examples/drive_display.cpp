#include "examples/drive_display.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string_view>

namespace {

constexpr double kPlainLineEvery = 10.0; // metres
constexpr std::size_t kProgressCells = 20;

// Beyond which errors (metres) the lamps of one side of the lightbar are lit.
constexpr std::array<double, 7> kLamps = {0.01, 0.025, 0.05, 0.1, 0.2, 0.4, 0.8};

const char* Colour(double error)
{
    if (std::abs(error) <= 0.025) {
        return "\033[32m"; // green
    }
    return std::abs(error) <= 0.1 ? "\033[33m" : "\033[31m"; // yellow, red
}

std::string ErrorText(double error)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << std::setw(5) << 100.0 * std::abs(error) << " cm "
         << (error < 0.0 ? "left " : "right");
    return text.str();
}

std::string ProgressBar(double share)
{
    const double cells = std::clamp(share, 0.0, 1.0) * static_cast<double>(kProgressCells);
    const auto filled = static_cast<std::size_t>(cells);
    return '[' + std::string(filled, '=') + std::string(kProgressCells - filled, ' ') + ']';
}

/// The lamps on the side where the machine is, from the line outwards.
std::string LightBar(double error)
{
    const auto isLit = [error](double lamp) { return std::abs(error) > lamp; };
    const auto count = std::count_if(kLamps.begin(), kLamps.end(), isLit);
    const auto lit = static_cast<std::size_t>(count);
    const std::string dark(kLamps.size(), '.');
    const std::string lamps = std::string(lit, '#') + std::string(kLamps.size() - lit, '.');
    return error < 0.0 ? std::string(lamps.rbegin(), lamps.rend()) + '|' + dark
                       : dark + '|' + lamps;
}

bool IsTerminal()
{
    const char* terminal = std::getenv("TERM");
    return isatty(STDOUT_FILENO) == 1 && terminal != nullptr &&
           std::string_view(terminal) != "dumb";
}

bool WantsColours()
{
    const char* noColour = std::getenv("NO_COLOR");
    return noColour == nullptr || *noColour == '\0';
}

} // namespace

CDriveDisplay::CDriveDisplay() : m_isLive(IsTerminal()), m_hasColours(WantsColours()) {}

void CDriveDisplay::BeginLeg(const std::string& name, double length)
{
    m_name = name;
    m_length = length;
    m_nextPlainLine = 0.0;
}

void CDriveDisplay::Show(double distance, double crossTrackError)
{
    if (m_isLive) {
        ShowLive(distance, crossTrackError);
    } else if (distance >= m_nextPlainLine) {
        ShowPlain(distance, crossTrackError);
    }
}

void CDriveDisplay::EndLeg()
{
    if (m_isLive) {
        std::cout << std::endl;
    }
}

void CDriveDisplay::ShowLive(double distance, double crossTrackError) const
{
    std::cout << '\r' << std::left << std::setw(20) << m_name << std::right
              << ProgressBar(distance / m_length) << ' ' << std::setw(4) << std::lround(distance)
              << " m   " << (m_hasColours ? Colour(crossTrackError) : "")
              << LightBar(crossTrackError) << (m_hasColours ? "\033[0m" : "") << ' '
              << ErrorText(crossTrackError) << std::flush;
}

void CDriveDisplay::ShowPlain(double distance, double crossTrackError)
{
    std::cout << m_name << ": " << std::lround(distance) << " m driven, "
              << ErrorText(crossTrackError) << std::endl;
    m_nextPlainLine += kPlainLineEvery;
}
