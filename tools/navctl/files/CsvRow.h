#ifndef KESTROVE_TOOLS_NAVCTL_FILES_CSVROW_H
#define KESTROVE_TOOLS_NAVCTL_FILES_CSVROW_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// Splits a line of comma-separated values, as RFC 4180 says: a value may stand in double quotes,
/// in which a comma is not a separator and two double quotes are one. Blanks around values are
/// taken away.
///
/// @param line a line without its end; values do not run over lines.
/// @param values receives the values, in place of what it held.
/// @return false when a double quote is not closed or when something follows a closed one.
bool SplitCsvLine(const std::string& line, std::vector<std::string>& values);

/// The value as comma-separated values have it: in double quotes when it must be.
std::string CsvValue(const std::string& value);

/// Reads a finite number; the whole text must be the number.
std::optional<double> FiniteNumber(const std::string& text);

/// A column that was found by its name.
struct CsvColumn
{
    std::size_t index = 0; ///< its place in the row, from 0
    bool degrees = false;  ///< its name ends with "_deg"
};

/// The names of the columns, from the first line of a file. Names are compared without regard to
/// case, and without the unit that they may end with: _m, _s, _rad, _deg, _mps, _radps.
class CCsvHeader
{
public:
    /// No columns.
    CCsvHeader() = default;
    explicit CCsvHeader(const std::vector<std::string>& names);

    /// Finds a column and remembers that it is used.
    ///
    /// @param names the names that it may have.
    std::optional<CsvColumn> Find(std::initializer_list<const char*> names);

    std::size_t Count() const { return m_columns.size(); }
    /// The names of the columns that Find() has not found.
    std::vector<std::string> Unused() const;

private:
    struct Column
    {
        std::string name;
        std::string bareName;
        bool degrees = false;
        bool used = false;
    };
    std::vector<Column> m_columns;
};

/// A guess at why a line has not the columns that it should have: that it is separated by something
/// else than commas.
///
/// @return the guess as the end of a sentence; empty when there is none.
std::string SeparatorHint(const std::string& line);

#endif
