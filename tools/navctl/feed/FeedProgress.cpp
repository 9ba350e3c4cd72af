#include "tools/navctl/feed/FeedProgress.h"

#include <algorithm>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

#include "tools/navctl/Output.h"

namespace {

constexpr double kSecondsBetweenLooks = 0.1;
constexpr int kColumnsWithoutTerminal = 80;
constexpr std::size_t kWidestBar = 40;
constexpr std::size_t kNarrowestBar = 8;
const std::string kClearLine = "\r\x1b[K";

std::string ClockText(double seconds)
{
    const auto whole = static_cast<long>(seconds);
    char text[32];
    if (whole >= 3600) {
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60,
                      whole % 60);
    } else {
        std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    }
    return text;
}

std::string Bar(double share, std::size_t width, const ProgressStyle& style)
{
    const auto full = static_cast<std::size_t>(share * static_cast<double>(width));
    const char* const done = style.utf8 ? "\u2588" : "#";
    const char* const left = style.utf8 ? "\u2591" : "-";
    std::string bar;
    if (style.colours) {
        bar += "\x1b[32m";
    }
    for (std::size_t i = 0; i < width; ++i) {
        if (style.colours && i == full) {
            bar += "\x1b[2m";
        }
        bar += i < full ? done : left;
    }
    if (style.colours) {
        bar += "\x1b[0m";
    }
    return bar;
}

int ColumnsOfErrors()
{
    winsize size{};
    const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : kColumnsWithoutTerminal;
}

} // namespace

std::string ProgressLine(const FeedState& state, const ProgressStyle& style)
{
    std::string text = std::to_string(state.sent) + " " + state.what + (state.sent == 1 ? "" : "s");
    if (state.skipped > 0) {
        text += ", " + std::to_string(state.skipped) + " skipped";
    }
    text += "  " + ClockText(state.seconds);
    const auto columns = static_cast<std::size_t>(std::max(style.columns, 1));
    if (state.length == 0) {
        return text.substr(0, columns - 1);
    }
    const double share =
        std::min(1.0, static_cast<double>(state.bytesUsed) / static_cast<double>(state.length));
    char percent[16];
    std::snprintf(percent, sizeof percent, " %3d %%  ", static_cast<int>(share * 100.0));
    text = percent + text;
    if (columns < text.size() + kNarrowestBar + 1) {
        return text.substr(1, columns - 1);
    }
    return Bar(share, std::min(kWidestBar, columns - 1 - text.size()), style) + text;
}

CFeedProgress::CFeedProgress() : m_isShowing(ErrorsAreTerminal() && ObeysSequences()) {}

CFeedProgress::~CFeedProgress()
{
    Clear();
}

void CFeedProgress::Show(const FeedState& state)
{
    if (!m_isShowing || (m_isShown && state.seconds < m_lastShown + kSecondsBetweenLooks)) {
        return;
    }
    m_lastShown = state.seconds;
    m_isShown = true;
    const std::string line =
        kClearLine + ProgressLine(state, {ColumnsOfErrors(), ColoursAreAllowed(), HasUtf8()});
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
}

void CFeedProgress::Clear()
{
    if (m_isShown) {
        std::fputs(kClearLine.c_str(), stderr);
    }
    m_isShown = false;
}
