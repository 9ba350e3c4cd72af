#include "tools/fieldfiles/FieldFile.h"

#include <utility>

#include "tools/fieldfiles/FileLimits.h"

namespace {

constexpr std::size_t kMostNotes = 50;

} // namespace

Field& CFieldFile::FieldOf(const std::string& name)
{
    if (m_placed != fields.size()) { // some were put there or taken away without this
        m_placeOfName.clear();
        for (std::size_t i = 0; i < fields.size(); ++i) {
            m_placeOfName[fields[i].name] = i;
        }
        m_placed = fields.size();
    }
    const auto found = m_placeOfName.find(name);
    if (found != m_placeOfName.end()) {
        return fields[found->second];
    }
    if (fields.size() >= FileLimits::kFields) {
        throw CFieldFileTooLarge("fields");
    }
    m_placeOfName[name] = fields.size();
    fields.emplace_back();
    fields.back().name = name;
    m_placed = fields.size();
    return fields.back();
}

void CFieldFile::AddLine(Field& field, FieldLine line)
{
    line.number = ++m_lines;
    field.lines.push_back(std::move(line));
}

void CFieldFile::AddBoundary(Field& field, FieldBoundary boundary)
{
    boundary.number = ++m_boundaries;
    field.boundaries.push_back(std::move(boundary));
}

void CFieldFile::Refuse(const std::string& field, const std::string& name,
                        const std::string& reason)
{
    if (refused.size() >= FileLimits::kFeatures) {
        throw CFieldFileTooLarge("lines that cannot be used");
    }
    refused.push_back({field, name, reason, ++m_lines});
}

void CFieldFile::Append(CFieldFile&& more)
{
    for (Field& field : more.fields) {
        Field& known = FieldOf(field.name);
        for (FieldLine& line : field.lines) {
            line.number += m_lines;
            known.lines.push_back(std::move(line));
        }
        for (FieldBoundary& boundary : field.boundaries) {
            boundary.number += m_boundaries;
            known.boundaries.push_back(std::move(boundary));
        }
    }
    for (RefusedLine& line : more.refused) {
        line.number += m_lines;
        refused.push_back(std::move(line));
    }
    m_lines += more.m_lines;
    m_boundaries += more.m_boundaries;
    for (const std::string& note : more.Notes()) {
        Note(note);
    }
}

void CFieldFile::Note(const std::string& text)
{
    if (m_notes.size() < kMostNotes) {
        m_notes.push_back(text);
    } else if (m_notes.size() == kMostNotes) {
        m_notes.emplace_back("and more of that kind");
    }
}

std::size_t CFieldFile::LineCount() const
{
    std::size_t count = 0;
    for (const Field& field : fields) {
        count += field.lines.size();
    }
    return count;
}

std::size_t CFieldFile::BoundaryCount() const
{
    std::size_t count = 0;
    for (const Field& field : fields) {
        count += field.boundaries.size();
    }
    return count;
}

std::optional<FieldPlace> CFieldFile::FirstPlace() const
{
    for (const Field& field : fields) {
        for (const FieldLine& line : field.lines) {
            if (!line.places.empty()) {
                return line.places.front();
            }
        }
        for (const FieldBoundary& boundary : field.boundaries) {
            if (!boundary.exterior.empty()) {
                return boundary.exterior.front();
            }
        }
    }
    return std::nullopt;
}

CFieldFileTooLarge::CFieldFileTooLarge(const std::string& what)
    : CFieldFileProblem("it has more " + what + " than are read")
{
}

std::vector<FieldPlace> OpenRing(std::vector<FieldPlace> ring)
{
    while (ring.size() > 1 && ring.back().latitude == ring.front().latitude &&
           ring.back().longitude == ring.front().longitude) {
        ring.pop_back();
    }
    if (ring.size() < 3) {
        throw CFieldFileProblem("a ring needs three places apart");
    }
    return ring;
}
