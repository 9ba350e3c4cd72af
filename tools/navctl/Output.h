#ifndef KESTROVE_TOOLS_NAVCTL_OUTPUT_H
#define KESTROVE_TOOLS_NAVCTL_OUTPUT_H

#include <csignal>
#include <string>

/// The program's standard output, which carries data and nothing else.
///
/// The library writes trace lines of its own to the standard output. So the constructor moves the
/// standard output to a descriptor that only this object knows, and leads what anybody else writes
/// there nowhere; with TraceToErrors(), to the standard error.
///
/// One object a program, made before anything else. Thread safety: none.
class COutput
{
public:
    /// Takes the standard output over.
    COutput();
    ~COutput();
    COutput(const COutput&) = delete;
    COutput& operator=(const COutput&) = delete;

    /// Shows the library's trace lines on the standard error.
    void TraceToErrors();

    /// Writes text as it is, at once and whole. While nobody reads it, SIGINT and SIGTERM end the
    /// program even where they are blocked. A reader that has gone ends it by SIGPIPE, as other
    /// programs end; HasFailed() where that is ignored.
    void Write(const std::string& text);
    /// Writes text and ends the line.
    void WriteLine(const std::string& text) { Write(text + "\n"); }
    /// Whether something could not be written, a closed standard output included. Nothing more is
    /// written then.
    bool HasFailed() const { return !m_problem.empty(); }
    /// Why it could not.
    const std::string& Problem() const { return m_problem; }

    /// Whether whoever read the output has gone, though nothing is written; acts on it as Write()
    /// does.
    bool HasLostReader();
    /// The descriptor that wakes up a poll() for nothing when the reader goes.
    int Descriptor() const { return m_descriptor; }

    /// The text with its lines broken between words where a terminal has fewer columns; as it is
    /// elsewhere.
    std::string Fitted(const std::string& text) const;

    /// Whether the standard output is a terminal.
    bool IsTerminal() const;
    /// How many columns the terminal has; 80 where there is none or it does not say.
    int Columns() const;
    /// Whether to write colours: on a terminal, unless the environment has a NO_COLOR that is not
    /// empty or the terminal is "dumb".
    bool HasColours() const;

private:
    int m_descriptor;
    sigset_t m_unblocked; ///< the signals that are blocked while nobody reads
    std::string m_problem;
};

/// Text that a terminal shows and does not obey: control characters, those of Unicode's second set
/// (U+0080 to U+009F) included, are written as "\x1b" or "\u009b", and so is each byte that is not
/// UTF-8. Ends of lines stay.
///
/// @param text words that come from a file or from the link.
std::string Printable(const std::string& text);

/// Writes a line for people to the standard error, with the program's name in front; what is not
/// Printable() in it is made so. Broken between words on a terminal.
void WriteError(const std::string& text);

/// Whether the standard error is a terminal, for a progress bar.
bool ErrorsAreTerminal();

/// Whether the environment allows colours (see NO_COLOR) and the terminal has them.
bool ColoursAreAllowed();

/// Whether the terminal obeys escape sequences, such as for clearing a line: not a "dumb" one.
bool ObeysSequences();

/// Whether the environment's character set is UTF-8.
bool HasUtf8();

#endif
