#include "tools/navctl/fields/SourceFile.h"

#include <filesystem>

#include "tools/fieldfiles/FieldFormat.h"
#include "tools/fieldfiles/FileBytes.h"

namespace {

/// More than the longest message that the service would take.
constexpr std::size_t kLongestLine = 64U << 20;
constexpr std::size_t kBeginning = 512;

bool IsFolderThere(const std::string& path)
{
    std::error_code error;
    return path != "-" && std::filesystem::is_directory(path, error);
}

EFileContent KindOfContent(const std::string& beginning)
{
    const std::optional<EFieldFormat> format = FieldFormatOfContent(beginning);
    if (format) {
        return *format == EFieldFormat::GeoJson ? EFileContent::GeoJson : EFileContent::Fields;
    }
    const bool isText = beginning.find('\0') == std::string::npos;
    return isText ? EFileContent::Other : EFileContent::Unknown;
}

} // namespace

CSourceFile::CSourceFile(const std::string& path) : m_path(path)
{
    if (IsFolderThere(path)) {
        return;
    }
    m_file.emplace(path);
    m_lines.emplace(m_file->Descriptor(), kLongestLine);
}

EFileContent CSourceFile::Content()
{
    if (IsFolder()) {
        return EFileContent::Fields;
    }
    if (!Problem().empty()) {
        return EFileContent::Other;
    }
    if (!m_content) {
        const std::string beginning =
            m_lines->Peek([](const std::string& come) { return come.size() >= kBeginning; });
        m_content = KindOfContent(beginning.substr(0, kBeginning));
    }
    return *m_content;
}

const std::string& CSourceFile::Bytes()
{
    if (!m_bytes) {
        m_bytes = ReadBytes(*m_file, m_path, m_lines->TakeBuffer());
    }
    return *m_bytes;
}

std::string CSourceFile::TakeBytes()
{
    Bytes();
    return std::move(*m_bytes);
}
