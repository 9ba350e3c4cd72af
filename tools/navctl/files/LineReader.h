#ifndef KESTROVE_TOOLS_NAVCTL_FILES_LINEREADER_H
#define KESTROVE_TOOLS_NAVCTL_FILES_LINEREADER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

/// What CLineReader::Next() has found.
enum class ELine
{
    Line,       ///< a line
    TooLong,    ///< a line over the limit; its beginning is given, the rest is dropped
    NothingYet, ///< no whole line has come within the time
    End,        ///< the file has ended
    Failed,     ///< the file cannot be read; errno says why
};

/// Reads a file or a stream line by line, in a memory that does not grow with the file or with its
/// longest line. Lines end with LF, CRLF or CR; the last one may have no end. Lines are counted by
/// LF, as other tools count them: what a bare CR ends has the number of what follows it. A byte
/// order mark at the front is taken away.
///
/// Thread safety: none. Does not close the descriptor.
class CLineReader
{
public:
    /// @param descriptor an open file, pipe or terminal; stays the caller's.
    /// @param longestLine the most characters of a line that are given.
    CLineReader(int descriptor, std::size_t longestLine);

    /// Reads the next line.
    ///
    /// @param line receives the line without its end.
    /// @param timeoutMilliseconds how long to wait for data; -1 without limit.
    /// @return what was found; NothingYet also when a signal has interrupted the wait.
    ELine Next(std::string& line, int timeoutMilliseconds = -1);

    /// Waits for data and gives what has come of it, without using it up. To be called before the
    /// first line is read.
    ///
    /// @param isEnough says by what has come whether to wait for no more.
    /// @param waitsOn asked several times a second while nothing comes whether to wait on; may be
    ///        empty.
    /// @return what has come when that is enough, and otherwise at the end of the file, when there
    ///         is no room for more, or when `waitsOn` or, without it, a signal has ended the wait;
    ///         empty when nothing has come, or the file is empty or cannot be read, which Next()
    ///         will say.
    std::string Peek(const std::function<bool(const std::string&)>& isEnough,
                     const std::function<bool()>& waitsOn = nullptr);

    /// Takes what Peek() has fetched, for one who reads on from the descriptor: no line is read
    /// afterwards.
    std::string TakeBuffer();

    /// The number of the line that Next() gave last, counted from 1.
    std::uint64_t LineNumber() const { return m_lineNumber; }
    /// How many bytes of the file have been read.
    std::uint64_t BytesTaken() const { return m_bytesTaken; }
    /// How many of them have been used up.
    std::uint64_t BytesUsed() const { return m_bytesTaken - (m_buffer.size() - m_place); }
    /// How many of the lines so far were ended by a CR without an LF.
    std::uint64_t BareReturns() const { return m_bareReturns; }
    /// True when the beginning of a line has come, but not its end.
    bool HoldsPartOfALine() const { return !m_line.empty() || m_tooLong; }
    /// How many lines Next() has given, which is the number of the last one where a bare CR ends a
    /// line, too.
    std::uint64_t LinesGiven() const { return m_linesGiven; }

private:
    ELine Refill(int timeoutMilliseconds);
    bool TakeFromBuffer();
    ELine Give(std::string& line);

    int m_descriptor;
    std::size_t m_longestLine;
    std::string m_buffer;
    std::size_t m_place = 0;
    std::string m_line;
    bool m_tooLong = false;
    bool m_skipLineFeed = false;
    bool m_ended = false;
    bool m_isFirst = true;
    std::uint64_t m_lineNumber = 1;
    std::uint64_t m_lineFeeds = 0;
    std::uint64_t m_bareReturns = 0;
    std::uint64_t m_bytesTaken = 0;
    std::uint64_t m_linesGiven = 0;
};

#endif
