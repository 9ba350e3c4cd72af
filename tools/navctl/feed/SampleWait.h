#ifndef KESTROVE_TOOLS_NAVCTL_FEED_SAMPLEWAIT_H
#define KESTROVE_TOOLS_NAVCTL_FEED_SAMPLEWAIT_H

#include <functional>
#include <string>
#include <utility>

/// Says, once, that a feed has had nothing to send for a while.
class CSampleWait
{
public:
    /// @param tell receives the words.
    explicit CSampleWait(std::function<void(const std::string&)> tell) : m_tell(std::move(tell)) {}

    /// To be called several times a second until there is a sample.
    ///
    /// @param seconds since the feed has begun.
    /// @param found gives what has come instead, in words; empty when there is nothing to say yet.
    void Look(double seconds, const std::function<std::string()>& found)
    {
        if (m_isTold || seconds < kPatience) {
            return;
        }
        const std::string text = found();
        m_isTold = !text.empty();
        if (m_isTold) {
            m_tell("nothing that can be sent yet: " + text);
        }
    }

private:
    static constexpr double kPatience = 5.0; // seconds

    std::function<void(const std::string&)> m_tell;
    bool m_isTold = false;
};

#endif
