#ifndef KESTROVE_TOOLS_FIELDFILES_DATABASE_H
#define KESTROVE_TOOLS_FIELDFILES_DATABASE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <sqlite3.h>

/// A database in memory. Thread safety: none.
class CDatabase
{
public:
    /// An empty one, to be written.
    CDatabase();
    /// One that is read alone, and that is trusted with nothing.
    ///
    /// @throws CFieldFileProblem when it is not one.
    explicit CDatabase(std::string bytes);
    ~CDatabase();
    CDatabase(const CDatabase&) = delete;
    CDatabase& operator=(const CDatabase&) = delete;

    /// Runs statements that give nothing.
    ///
    /// @throws CFieldFileProblem when one fails.
    void Run(const std::string& statements);

    /// The whole database as a file has it.
    std::string Bytes();

    sqlite3* Handle() { return m_database; }
    /// Ends with the reason of the last failure.
    [[noreturn]] void Fail();

private:
    void Restrict();
    static int CountSteps(void* database);

    std::string m_bytes; ///< of one that is read, which SQLite does not copy
    sqlite3* m_database = nullptr;
    std::uint64_t m_steps = 0;
};

/// A statement of a database, which must outlive it.
class CStatement
{
public:
    /// @throws CFieldFileProblem when it cannot be prepared.
    CStatement(CDatabase& database, const std::string& text);
    ~CStatement();
    CStatement(const CStatement&) = delete;
    CStatement& operator=(const CStatement&) = delete;

    /// Goes on to the next row.
    ///
    /// @return whether there is one.
    /// @throws CFieldFileProblem when the database fails.
    bool Next();
    /// Lets the statement be bound and run again.
    void Again();

    /// Values of the row, columns counted from 0.
    bool IsNull(int column) const;
    std::int64_t Integer(int column) const;
    double Real(int column) const;
    std::string Text(int column) const;      ///< of at most FileLimits::kNameBytes
    std::string_view Blob(int column) const; ///< until the next row

    /// Sets parameters, counted from 1.
    void Bind(int parameter, const std::string& text);
    void Bind(int parameter, const std::optional<double>& value);
    void BindBlob(int parameter, const std::string& bytes);

private:
    CDatabase& m_database;
    sqlite3_stmt* m_statement = nullptr;
};

/// A name as a statement has it, in quotes.
std::string QuotedName(const std::string& name);

#endif
