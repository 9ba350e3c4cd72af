#ifndef KESTROVE_TOOLS_NAVCTL_WATCH_LIGHTBAR_H
#define KESTROVE_TOOLS_NAVCTL_WATCH_LIGHTBAR_H

#include <optional>
#include <string>

#include "tools/navctl/watch/EventKind.h"

/// A row of lamps that shows on which side of the line the machine is and how far, with the state
/// of the steering beside it. Gathers the state from the events and draws it as one line of text.
class CLightbar
{
public:
    /// How it is drawn.
    struct Style
    {
        bool colours = false;
        bool utf8 = false; ///< round lamps; otherwise of ASCII letters
        int columns = 80;  ///< a line never has more; 0 for no limit
    };

    /// The kinds of events that it needs.
    static std::vector<const CEventKind*> Kinds();

    /// Takes an event of those kinds.
    void Take(const CEvent& event);
    /// No event has come for so many seconds: what is known is out of date until the next one.
    void FallSilent(long seconds) { m_silentSeconds = seconds; }
    /// Forgets the state: the link is down for this reason.
    void LoseLink(const std::string& reason);

    /// The line, without its end; with fewer lamps where it is narrow, and the words alone, on
    /// several lines if need be, where not even three on each side have room.
    std::string Draw(const Style& style) const;

private:
    std::string Lamps(const Style& style, std::size_t lampsOnASide) const;
    std::string State() const;

    std::optional<double> m_crossTrackError;
    int m_pass = 0;
    std::optional<bool> m_isNavigating;
    bool m_isEngaged = false;
    bool m_isPossible = false;
    bool m_isDropped = false;
    bool m_hasWayline = false;
    long m_silentSeconds = 0;
    std::string m_linkProblem;
};

#endif
