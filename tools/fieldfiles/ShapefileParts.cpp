#include "tools/fieldfiles/ShapefileParts.h"

#include <algorithm>
#include <cstdint>
#include <set>

#include "tools/fieldfiles/FieldFile.h"
#include "tools/fieldfiles/FileLimits.h"

namespace {

constexpr std::size_t kShapesHead = 100; ///< bytes before the first shape, and before the index
constexpr std::size_t kTypePlace = 32;

[[noreturn]] void Disagree(const std::string& how)
{
    throw CFieldFileProblem("the parts of the Shapefile disagree: " + how);
}

std::uint32_t NumberAt(const std::string& bytes, std::size_t place, std::size_t size,
                       bool isLittleEndian)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const std::size_t from = place + (isLittleEndian ? size - 1 - i : i);
        value = value << 8U | static_cast<unsigned char>(bytes.at(from));
    }
    return value;
}

std::uint32_t Big(const std::string& bytes, std::size_t place)
{
    return NumberAt(bytes, place, 4, false);
}

std::uint32_t Little(const std::string& bytes, std::size_t place, std::size_t size = 4)
{
    return NumberAt(bytes, place, size, true);
}

/// Lengths are counted in words of two bytes.
std::uint64_t BytesAt(const std::string& bytes, std::size_t place)
{
    return std::uint64_t{2} * Big(bytes, place);
}

/// Checks that a .shp or .shx is as long as it says.
void CheckLength(const std::string& bytes, const std::string& ending)
{
    constexpr std::size_t kLengthPlace = 24;
    if (bytes.size() < kShapesHead) {
        throw CFieldFileProblem("the ." + ending + " is too short");
    }
    const std::uint64_t told = BytesAt(bytes, kLengthPlace);
    const std::string lengths =
        std::to_string(bytes.size()) + " of " + std::to_string(told) + " bytes";
    if (told > bytes.size()) {
        throw CFieldFileProblem("the ." + ending + " ends before its end: " + lengths);
    }
    if (told < bytes.size()) {
        throw CFieldFileProblem("the ." + ending + " goes on behind its end: " + lengths);
    }
}

/// Walks along the shapes of a .shp.
class CShapeWalk
{
public:
    CShapeWalk(const std::string& shapes, const std::string& index)
        : m_shapes(shapes), m_index(index), m_type(Little(shapes, kTypePlace))
    {
    }

    /// @return how many shapes there are.
    std::size_t Check()
    {
        if (Little(m_index, kTypePlace) != m_type) {
            Disagree("the .shp has shapes of the type " + std::to_string(m_type) +
                     ", the .shx of " + std::to_string(Little(m_index, kTypePlace)));
        }
        while (m_place < m_shapes.size()) {
            CheckShape();
        }
        if (EntryPlace() != m_index.size()) {
            Disagree("the .shp has " + std::to_string(m_count) + " shapes, the .shx " +
                     std::to_string((m_index.size() - kShapesHead) / kEntry));
        }
        return m_count;
    }

private:
    static constexpr std::size_t kEntry = 8; ///< of the index; as long as a shape's own head

    std::size_t EntryPlace() const { return kShapesHead + kEntry * m_count; }

    std::string Number() const { return "shape " + std::to_string(m_count + 1); }

    void CheckShape()
    {
        if (m_count >= FileLimits::kFeatures) {
            throw CFieldFileTooLarge("shapes");
        }
        if (m_shapes.size() - m_place < kEntry) {
            throw CFieldFileProblem(Number() + " ends before its end");
        }
        const std::uint64_t length = BytesAt(m_shapes, m_place + 4);
        if (length < 4 || length > m_shapes.size() - m_place - kEntry) {
            throw CFieldFileProblem(Number() + " ends before its end");
        }
        if (Big(m_shapes, m_place) != m_count + 1) {
            Disagree("the .shp has the number " + std::to_string(Big(m_shapes, m_place)) +
                     " where " + Number() + " is due");
        }
        if (m_index.size() < EntryPlace() + kEntry) {
            Disagree("the .shx does not have " + Number());
        }
        if (BytesAt(m_index, EntryPlace()) != m_place ||
            BytesAt(m_index, EntryPlace() + 4) != length) {
            Disagree("the .shx has " + Number() + " at another place than the .shp");
        }
        CheckContent(m_place + kEntry, static_cast<std::size_t>(length));
        m_place += kEntry + static_cast<std::size_t>(length);
        ++m_count;
    }

    /// Checks that a shape has all that it says, and counts its places.
    void CheckContent(std::size_t place, std::size_t length)
    {
        const std::uint32_t type = Little(m_shapes, place);
        if (type == 0) {
            return;
        }
        if (type != m_type) {
            Disagree(Number() + " is of the type " + std::to_string(type) + ", the .shp of " +
                     std::to_string(m_type));
        }
        constexpr std::uint32_t kSeveral[] = {3, 5, 13, 15, 23, 25}; // lines and areas
        if (std::find(std::begin(kSeveral), std::end(kSeveral), type) == std::end(kSeveral)) {
            return;
        }
        constexpr std::size_t kHead = 44; // type, box, how many parts and points
        constexpr std::size_t kBox = 16;
        const std::uint64_t parts = length < kHead ? 0 : Little(m_shapes, place + 36);
        const std::uint64_t points = length < kHead ? 0 : Little(m_shapes, place + 40);
        const bool hasHeights = type == 13 || type == 15;
        const std::uint64_t needed =
            kHead + 4 * parts + 16 * points + (hasHeights ? kBox + 8 * points : 0);
        if (needed > length) {
            throw CFieldFileProblem(Number() + " ends before its end");
        }
        m_points += points;
        if (m_points > FileLimits::kPlaces) {
            throw CFieldFileTooLarge("places");
        }
    }

    const std::string& m_shapes;
    const std::string& m_index;
    std::uint32_t m_type;
    std::size_t m_place = kShapesHead;
    std::size_t m_count = 0;
    std::uint64_t m_points = 0;
};

void CheckColumns(const std::string& table, std::size_t head, std::size_t width)
{
    constexpr std::size_t kColumn = 32;
    constexpr char kEnd = '\x0d';
    std::size_t needed = 1; // the mark of rows that are deleted
    std::size_t place = kColumn;
    for (; place + kColumn <= head && table[place] != kEnd; place += kColumn) {
        const bool isText = table[place + 11] == 'C'; // whose width may have two bytes
        needed += Little(table, place + 16, isText ? 2 : 1);
    }
    if (needed > width) {
        throw CFieldFileProblem("the .dbf of the Shapefile is broken: its columns are wider than "
                                "its rows");
    }
}

void CheckTable(const std::string& table, std::size_t shapes)
{
    constexpr std::size_t kLeast = 33;
    if (table.size() < kLeast) {
        throw CFieldFileProblem("the .dbf of the Shapefile is too short");
    }
    const std::uint64_t rows = Little(table, 4);
    const std::size_t head = Little(table, 8, 2);
    const std::size_t width = Little(table, 10, 2);
    if (head < kLeast || head > table.size() || width == 0) {
        throw CFieldFileProblem("the .dbf of the Shapefile is broken");
    }
    if (rows != shapes) {
        Disagree(std::to_string(shapes) + " shapes, " + std::to_string(rows) + " rows in the .dbf");
    }
    CheckColumns(table, head, width);
    const std::uint64_t needed = head + rows * width;
    if (needed > table.size()) {
        throw CFieldFileProblem("the .dbf ends before its end: " + std::to_string(table.size()) +
                                " of " + std::to_string(needed) + " bytes");
    }
    // A byte may mark the end, and some programs fill up to a round length with it.
    const std::string rest = table.substr(static_cast<std::size_t>(needed));
    if (rest.find_first_not_of(std::string("\x1a\0", 2)) != std::string::npos) {
        throw CFieldFileProblem("the .dbf goes on behind its end: " + std::to_string(table.size()) +
                                " of " + std::to_string(needed) + " bytes");
    }
}

} // namespace

void CheckShapefileParts(const std::string& shapes, const std::string& index,
                         const std::string* table)
{
    CheckLength(shapes, "shp");
    CheckLength(index, "shx");
    const std::size_t count = CShapeWalk(shapes, index).Check();
    if (table != nullptr) {
        CheckTable(*table, count);
    }
}
