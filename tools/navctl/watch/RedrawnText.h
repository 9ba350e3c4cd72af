#ifndef KESTROVE_TOOLS_NAVCTL_WATCH_REDRAWNTEXT_H
#define KESTROVE_TOOLS_NAVCTL_WATCH_REDRAWNTEXT_H

#include <algorithm>
#include <string>

#include "tools/navctl/Output.h"

/// Redraws a text in place on a terminal that obeys escape sequences; elsewhere writes each line
/// that differs from the last.
class CRedrawnText
{
public:
    explicit CRedrawnText(COutput& output)
        : m_output(output), m_redraws(output.IsTerminal() && ObeysSequences())
    {
    }
    ~CRedrawnText()
    {
        if (m_redraws && !m_last.empty()) {
            m_output.Write("\n");
        }
    }
    CRedrawnText(const CRedrawnText&) = delete;
    CRedrawnText& operator=(const CRedrawnText&) = delete;

    void Show(const std::string& line)
    {
        if (line == m_last) {
            return;
        }
        const std::string start = Start();
        m_last = line;
        m_output.Write(m_redraws ? start + line + "\033[K" : line + "\n");
    }

private:
    /// What leads back to where the last text begins; one of several lines is taken away.
    std::string Start() const
    {
        const auto ends = std::count(m_last.begin(), m_last.end(), '\n');
        return ends == 0 ? "\r" : "\r\033[" + std::to_string(ends) + "A\033[J";
    }

    COutput& m_output;
    bool m_redraws;
    std::string m_last;
};

#endif
