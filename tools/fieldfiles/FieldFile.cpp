#include "tools/fieldfiles/FieldFile.h"

#include <algorithm>

namespace {

constexpr std::size_t kMostNotes = 50;

} // namespace

Field& CFieldFile::FieldOf(const std::string& name)
{
    // Files have a field's parts one after the other, so the last field is looked at first.
    const auto found = std::find_if(fields.rbegin(), fields.rend(),
                                    [&](const Field& field) { return field.name == name; });
    if (found != fields.rend()) {
        return *found;
    }
    fields.emplace_back();
    fields.back().name = name;
    return fields.back();
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
