#include "tools/fieldfiles/Database.h"

#include <algorithm>
#include <cstring>

#include "tools/fieldfiles/FieldFile.h"
#include "tools/fieldfiles/FileLimits.h"

namespace {

constexpr int kStepsBetweenLooks = 100000;
constexpr std::uint64_t kMostLooks = 2000;

/// What may be done with a database that is read: looking at its tables.
int Allow(void* /*unused*/, int action, const char* name, const char* /*column*/,
          const char* /*database*/, const char* /*trigger*/)
{
    if (action == SQLITE_SELECT || action == SQLITE_READ) {
        return SQLITE_OK;
    }
    const bool isLook =
        action == SQLITE_PRAGMA && name != nullptr &&
        (std::strcmp(name, "application_id") == 0 || std::strcmp(name, "table_info") == 0);
    return isLook ? SQLITE_OK : SQLITE_DENY;
}

/// A number of a database's header.
std::uint32_t HeaderNumber(const std::string& bytes, std::size_t place, std::size_t size)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = value << 8U | static_cast<unsigned char>(bytes[place + i]);
    }
    return value;
}

/// Checks that a database has all its pages: one that is cut off may look whole until a page is
/// wanted that is missing.
void CheckWhole(const std::string& bytes)
{
    constexpr std::size_t kPageSizePlace = 16;
    constexpr std::size_t kPageCountPlace = 28;
    constexpr std::uint64_t kLargestPage = 65536; // which its two bytes have as 1
    const std::uint64_t told = HeaderNumber(bytes, kPageSizePlace, 2);
    const std::uint64_t pageSize = told == 1 ? kLargestPage : told;
    if (pageSize * HeaderNumber(bytes, kPageCountPlace, 4) > bytes.size()) {
        throw CFieldFileProblem("the database ends before its end");
    }
}

} // namespace

CDatabase::CDatabase()
{
    if (sqlite3_open(":memory:", &m_database) == SQLITE_OK) {
        return;
    }
    sqlite3_close(m_database);
    throw CFieldFileProblem("there is no memory for a database");
}

CDatabase::CDatabase(std::string bytes) : CDatabase()
{
    constexpr std::size_t kHeaderBytes = 100;
    constexpr std::size_t kWriteVersion = 18;
    if (bytes.size() < kHeaderBytes) {
        throw CFieldFileProblem("the database is too short");
    }
    CheckWhole(bytes);
    m_bytes = std::move(bytes);
    auto* const content = reinterpret_cast<unsigned char*>(m_bytes.data());
    // A journal that is written ahead lies beside the file; in memory there is none.
    content[kWriteVersion] = std::min<unsigned char>(content[kWriteVersion], 1);
    content[kWriteVersion + 1] = std::min<unsigned char>(content[kWriteVersion + 1], 1);
    const auto size = static_cast<sqlite3_int64>(m_bytes.size());
    if (sqlite3_deserialize(m_database, "main", content, size, size, SQLITE_DESERIALIZE_READONLY) !=
        SQLITE_OK) {
        Fail();
    }
    Restrict();
}

CDatabase::~CDatabase()
{
    sqlite3_close(m_database);
}

void CDatabase::Restrict()
{
    sqlite3_db_config(m_database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(m_database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(m_database, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(m_database, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_limit(m_database, SQLITE_LIMIT_LENGTH, static_cast<int>(FileLimits::kValueBytes));
    sqlite3_limit(m_database, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_set_authorizer(m_database, Allow, nullptr);
    sqlite3_progress_handler(m_database, kStepsBetweenLooks, CountSteps, this);
}

int CDatabase::CountSteps(void* database)
{
    return ++static_cast<CDatabase*>(database)->m_steps > kMostLooks ? 1 : 0;
}

void CDatabase::Fail()
{
    throw CFieldFileProblem("the database: " + std::string(sqlite3_errmsg(m_database)));
}

void CDatabase::Run(const std::string& statements)
{
    if (sqlite3_exec(m_database, statements.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        Fail();
    }
}

std::string CDatabase::Bytes()
{
    sqlite3_int64 size = 0;
    unsigned char* const bytes = sqlite3_serialize(m_database, "main", &size, 0);
    if (bytes == nullptr) {
        Fail();
    }
    std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    sqlite3_free(bytes);
    return text;
}

CStatement::CStatement(CDatabase& database, const std::string& text) : m_database(database)
{
    if (sqlite3_prepare_v2(database.Handle(), text.c_str(), -1, &m_statement, nullptr) !=
        SQLITE_OK) {
        database.Fail();
    }
}

CStatement::~CStatement()
{
    sqlite3_finalize(m_statement);
}

bool CStatement::Next()
{
    const int result = sqlite3_step(m_statement);
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        m_database.Fail();
    }
    return result == SQLITE_ROW;
}

void CStatement::Again()
{
    sqlite3_reset(m_statement);
}

bool CStatement::IsNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

std::int64_t CStatement::Integer(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

double CStatement::Real(int column) const
{
    return sqlite3_column_double(m_statement, column);
}

std::string CStatement::Text(int column) const
{
    const auto* const text =
        reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    return text == nullptr ? std::string()
                           : std::string(text, strnlen(text, FileLimits::kNameBytes));
}

std::string_view CStatement::Blob(int column) const
{
    const void* const bytes = sqlite3_column_blob(m_statement, column);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
    return bytes == nullptr ? std::string_view()
                            : std::string_view(static_cast<const char*>(bytes), size);
}

void CStatement::Bind(int parameter, const std::string& text)
{
    sqlite3_bind_text64(m_statement, parameter, text.data(), text.size(), SQLITE_TRANSIENT,
                        SQLITE_UTF8);
}

void CStatement::Bind(int parameter, const std::optional<double>& value)
{
    if (value) {
        sqlite3_bind_double(m_statement, parameter, *value);
    } else {
        sqlite3_bind_null(m_statement, parameter);
    }
}

void CStatement::BindBlob(int parameter, const std::string& bytes)
{
    sqlite3_bind_blob64(m_statement, parameter, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
}

std::string QuotedName(const std::string& name)
{
    std::string quoted = "\"";
    for (const char letter : name) {
        quoted += letter == '"' ? std::string("\"\"") : std::string(1, letter);
    }
    return quoted + "\"";
}
