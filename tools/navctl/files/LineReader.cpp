#include "tools/navctl/files/LineReader.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace {

constexpr std::size_t kBufferSize = 65536;
constexpr int kMillisecondsOfAPeek = 200;
const std::string kByteOrderMark = "\xEF\xBB\xBF";

} // namespace

CLineReader::CLineReader(int descriptor, std::size_t longestLine)
    : m_descriptor(descriptor), m_longestLine(longestLine)
{
    m_buffer.reserve(kBufferSize);
}

ELine CLineReader::Next(std::string& line, int timeoutMilliseconds)
{
    while (!TakeFromBuffer()) {
        if (m_ended) {
            m_lineNumber = m_lineFeeds + 1;
            return HoldsPartOfALine() ? Give(line) : ELine::End;
        }
        const ELine state = Refill(timeoutMilliseconds);
        if (state == ELine::End) {
            m_ended = true;
        } else if (state != ELine::Line) {
            return state;
        }
    }
    return Give(line);
}

std::string CLineReader::Peek(const std::function<bool(const std::string&)>& isEnough,
                              const std::function<bool()>& waitsOn)
{
    bool goesOn = true;
    while (goesOn && !m_ended && m_buffer.size() < kBufferSize &&
           (m_buffer.empty() || !isEnough(m_buffer))) {
        const ELine state = Refill(waitsOn ? kMillisecondsOfAPeek : -1);
        m_ended = state == ELine::End;
        goesOn = state == ELine::Line || (state == ELine::NothingYet && waitsOn && waitsOn());
    }
    return m_buffer;
}

std::string CLineReader::TakeBuffer()
{
    m_ended = true;
    return std::exchange(m_buffer, {});
}

/// Fetches what has come, behind what is there and not used up.
///
/// @return Line when something has.
ELine CLineReader::Refill(int timeoutMilliseconds)
{
    pollfd waiting{m_descriptor, POLLIN, 0};
    const int ready = poll(&waiting, 1, timeoutMilliseconds);
    if (ready == 0 || (ready < 0 && errno == EINTR)) {
        return ELine::NothingYet;
    }
    if (ready < 0) {
        return ELine::Failed;
    }
    m_buffer.erase(0, m_place);
    m_place = 0;
    const std::size_t kept = m_buffer.size();
    m_buffer.resize(kBufferSize);
    const ssize_t count = read(m_descriptor, m_buffer.data() + kept, kBufferSize - kept);
    const std::size_t come = count > 0 ? static_cast<std::size_t>(count) : 0;
    m_buffer.resize(kept + come);
    m_bytesTaken += come;
    if (count < 0) {
        return errno == EINTR || errno == EAGAIN ? ELine::NothingYet : ELine::Failed;
    }
    return count == 0 ? ELine::End : ELine::Line;
}

/// Moves characters from the buffer to the line.
///
/// @return true when the line's end has come.
bool CLineReader::TakeFromBuffer()
{
    if (m_skipLineFeed && m_place < m_buffer.size()) {
        if (m_buffer[m_place] == '\n') {
            ++m_place;
            ++m_lineFeeds;
        } else {
            ++m_bareReturns;
        }
        m_skipLineFeed = false;
    }
    const std::string_view rest = std::string_view(m_buffer).substr(m_place);
    const std::string_view upToLineFeed = rest.substr(0, rest.find('\n'));
    const std::size_t end = m_place + std::min(upToLineFeed.find('\r'), upToLineFeed.size());
    const std::size_t length = end - m_place;
    const std::size_t room = m_longestLine - m_line.size();
    m_line.append(m_buffer, m_place, std::min(length, room));
    m_tooLong = m_tooLong || length > room;
    m_place = end;
    if (end == m_buffer.size()) {
        return false;
    }
    m_lineNumber = m_lineFeeds + 1;
    m_skipLineFeed = m_buffer[end] == '\r';
    m_lineFeeds += m_skipLineFeed ? 0 : 1;
    ++m_place;
    return true;
}

ELine CLineReader::Give(std::string& line)
{
    line.swap(m_line);
    m_line.clear();
    if (m_isFirst && line.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0) {
        line.erase(0, kByteOrderMark.size());
    }
    m_isFirst = false;
    ++m_linesGiven;
    const bool tooLong = m_tooLong;
    m_tooLong = false;
    return tooLong ? ELine::TooLong : ELine::Line;
}
