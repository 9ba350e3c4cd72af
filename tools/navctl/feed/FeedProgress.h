#ifndef KESTROVE_TOOLS_NAVCTL_FEED_FEEDPROGRESS_H
#define KESTROVE_TOOLS_NAVCTL_FEED_FEEDPROGRESS_H

#include <cstdint>
#include <string>

/// How far a feed is.
struct FeedState
{
    std::uint64_t bytesUsed = 0; ///< of the file
    std::uint64_t length = 0;    ///< of the file, bytes; 0 when it is not known
    std::uint64_t sent = 0;      ///< samples
    std::uint64_t skipped = 0;   ///< sentences or rows
    double seconds = 0.0;        ///< since the start
    const char* what = "sample"; ///< is sent or read
};

/// How a progress line is drawn.
struct ProgressStyle
{
    int columns = 80;     ///< of the terminal
    bool colours = false; ///< with escape sequences for colours
    bool utf8 = false;    ///< with block characters
};

/// The line that shows how far a feed is: a bar and the share where the length is known, the number
/// of samples, of what was skipped, and the time. Shorter than the terminal is wide.
std::string ProgressLine(const FeedState& state, const ProgressStyle& style);

/// Keeps a progress line on the standard error up to date when that is a terminal that can take it
/// away again; otherwise shows nothing.
class CFeedProgress
{
public:
    CFeedProgress();
    /// Takes the line away.
    ~CFeedProgress();
    CFeedProgress(const CFeedProgress&) = delete;
    CFeedProgress& operator=(const CFeedProgress&) = delete;

    /// Shows the state, ten times a second at most.
    void Show(const FeedState& state);
    /// Takes the line away, so that something else can be written.
    void Clear();

private:
    bool m_isShown = false;
    bool m_isShowing; ///< at all
    double m_lastShown = -1.0;
};

#endif
