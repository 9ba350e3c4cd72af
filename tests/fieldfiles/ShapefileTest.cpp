#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "tests/fieldfiles/SampleFields.h"
#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/FileLimits.h"
#include "tools/fieldfiles/Shapefile.h"

namespace {

constexpr std::size_t kHead = 100;
constexpr std::size_t kEntry = 8;

/// Lines of different lengths and names, so that no two are taken for one another.
CFieldFile Lines(std::size_t count)
{
    CFieldFile file;
    for (std::size_t i = 0; i < count; ++i) {
        FieldLine line;
        line.kind = Kestrove::EWaylineTypeABCurve;
        line.name = "Line " + std::to_string(i);
        for (std::size_t point = 0; point < 3 + i % 3; ++point) {
            line.places.push_back({52.0 + 0.1 * static_cast<double>(i),
                                   5.0 + 0.01 * static_cast<double>(point * (i + 1)),
                                   {}});
        }
        file.FieldOf("North").lines.push_back(line);
    }
    return file;
}

FileSet PartsNamed(const FileSet& byEnding)
{
    FileSet files;
    for (const auto& [ending, bytes] : byEnding) {
        files["one." + ending] = bytes;
    }
    return files;
}

FileSet ShapesOf(std::size_t count)
{
    return PartsNamed(WriteShapefile(Lines(count), EShapes::Lines));
}

std::string Problem(const FileSet& files)
{
    return ProblemOf([&] { ReadShapefile(files, "one", std::nullopt); });
}

void PutBig(std::string& bytes, std::size_t place, std::size_t value)
{
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[place + i] = static_cast<char>(value >> (24 - 8 * i));
    }
}

void PutLittle(std::string& bytes, std::size_t place, std::size_t value)
{
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[place + i] = static_cast<char>(value >> (8 * i));
    }
}

/// Whether a file has the lines that Lines() makes.
bool HasLines(const CFieldFile& file, std::size_t count)
{
    const CFieldFile expected = Lines(count);
    bool isSame = file.fields.size() == 1 && file.refused.empty() && file.LineCount() == count;
    for (std::size_t i = 0; isSame && i < count; ++i) {
        const FieldLine& line = file.fields[0].lines[i];
        isSame = line.name == expected.fields[0].lines[i].name &&
                 Apart(line, expected.fields[0].lines[i]) == 0.0;
    }
    return isSame;
}

/// A boundary with two holes, at a longitude.
CFieldFile BoundaryWithHoles(double longitude)
{
    const auto ring = [&](std::initializer_list<std::array<double, 2>> places) {
        std::vector<FieldPlace> result;
        for (const auto& [north, east] : places) {
            result.push_back({-17.0 + north, std::remainder(longitude + east, 360.0), {}});
        }
        return result;
    };
    CFieldFile file;
    FieldBoundary boundary;
    boundary.name = "Area";
    boundary.exterior = ring({{0.0, -0.01}, {0.0, 0.012}, {0.02, 0.01}, {0.018, -0.01}});
    boundary.holes = {ring({{0.005, -0.008}, {0.005, -0.002}, {0.009, -0.003}}),
                      ring({{0.005, -0.001}, {0.005, 0.006}, {0.011, 0.002}})};
    FieldBoundary island;
    island.name = "Island";
    island.exterior = ring({{0.03, -0.01}, {0.03, 0.012}, {0.04, 0.01}});
    file.FieldOf("North").boundaries = {boundary, island};
    return file;
}

} // namespace

TEST(Shapefile, RefusesPartsOfDifferentCounts)
{
    constexpr std::size_t kMost = 4;
    std::vector<FileSet> files;
    for (std::size_t count = 0; count <= kMost; ++count) {
        files.push_back(ShapesOf(count + 1));
    }
    for (std::size_t shapes = 0; shapes <= kMost; ++shapes) {
        for (std::size_t index = 0; index <= kMost; ++index) {
            for (std::size_t table = 0; table <= kMost; ++table) {
                FileSet mixed = files[shapes];
                mixed["one.shx"] = files[index]["one.shx"];
                mixed["one.dbf"] = files[table]["one.dbf"];
                const bool agrees = shapes == index && shapes == table;
                EXPECT_EQ(agrees, Problem(mixed) == "no problem")
                    << shapes << " " << index << " " << table << ": " << Problem(mixed);
            }
        }
    }
}

TEST(Shapefile, RefusesAnIndexInAnotherOrder)
{
    constexpr std::size_t kCount = 4;
    const FileSet whole = ShapesOf(kCount);
    const std::string& index = whole.at("one.shx");
    std::array<std::size_t, kCount> entries{};
    const auto problemOf = [&] {
        FileSet files = whole;
        for (std::size_t i = 0; i < kCount; ++i) {
            files["one.shx"].replace(kHead + kEntry * i, kEntry, index, kHead + kEntry * entries[i],
                                     kEntry);
        }
        return Problem(files);
    };
    // All choices of an entry for each place: permutations, and such with one twice.
    for (std::size_t choice = 0; choice < 256; ++choice) {
        for (std::size_t i = 0; i < kCount; ++i) {
            entries[i] = choice >> (2 * i) & 3U;
        }
        const bool isRight = entries == std::array<std::size_t, kCount>{0, 1, 2, 3};
        EXPECT_EQ(isRight, problemOf() == "no problem") << choice;
    }
}

TEST(Shapefile, RefusesEveryPartThatIsCutOffOrGoesOn)
{
    const FileSet whole = ShapesOf(3);
    ASSERT_TRUE(HasLines(ReadShapefile(whole, "one", std::nullopt), 3));
    for (const char* const name : {"one.shp", "one.shx", "one.dbf"}) {
        const std::string& bytes = whole.at(name);
        // A table may end with a byte that marks its end.
        const std::size_t needed = bytes.size() - (bytes.back() == '\x1a' ? 1 : 0);
        for (std::size_t length = 0; length < needed; ++length) {
            FileSet files = whole;
            files[name].resize(length);
            EXPECT_NE("no problem", Problem(files)) << name << " of " << length << " bytes";
        }
        FileSet files = whole;
        files[name] += std::string(12, 'x');
        EXPECT_NE(std::string::npos, Problem(files).find("goes on behind its end")) << name;
    }
}

TEST(Shapefile, RefusesNumbersAndTypesThatContradict)
{
    constexpr std::size_t kTypePlace = 32;
    const FileSet whole = ShapesOf(3);
    for (const char* const name : {"one.shp", "one.shx"}) {
        FileSet files = whole;
        PutLittle(files[name], kTypePlace, 5);
        EXPECT_NE(std::string::npos, Problem(files).find("disagree")) << name;
    }
    for (const std::size_t number : {0U, 2U, 3U, 4U}) {
        FileSet files = whole;
        PutBig(files["one.shp"], kHead, number);
        EXPECT_NE(std::string::npos, Problem(files).find("disagree")) << number;
    }
    FileSet files = whole;
    PutLittle(files["one.shp"], kHead + kEntry, 5);
    EXPECT_NE(std::string::npos, Problem(files).find("disagree"));
}

TEST(Shapefile, GivesTheSameLinesOrNoneForEveryByteOfItsIndexThatIsWrong)
{
    const FileSet whole = ShapesOf(3);
    for (std::size_t i = 0; i < whole.at("one.shx").size(); ++i) {
        for (const unsigned bits : {0x01U, 0x80U, 0xFFU}) {
            FileSet files = whole;
            files["one.shx"][i] = static_cast<char>(files["one.shx"][i] ^ static_cast<char>(bits));
            const auto isSameOrRefused = [&] {
                try {
                    return HasLines(ReadShapefile(files, "one", std::nullopt), 3);
                } catch (const CFieldFileProblem&) {
                    return true;
                }
            };
            EXPECT_TRUE(isSameOrRefused()) << "byte " << i;
        }
    }
}

TEST(Shapefile, RefusesMorePlacesThanAreReadBeforeItMakesThem)
{
    constexpr std::size_t kShapeHead = 48; // with one part
    FileSet files = ShapesOf(1);
    std::string& shapes = files["one.shp"];
    const std::size_t points = FileLimits::kPlaces + 1;
    const std::size_t length = kShapeHead + 16 * points;
    shapes.resize(kHead + kEntry + length);
    PutBig(shapes, 24, shapes.size() / 2);
    PutBig(shapes, kHead + 4, length / 2);
    PutLittle(shapes, kHead + kEntry + 40, points);
    PutBig(files["one.shx"], kHead + 4, length / 2);
    EXPECT_NE(std::string::npos, Problem(files).find("more places than are read"));
}

TEST(Shapefile, LeavesOutALineWhoseRowIsMarkedAsDeleted)
{
    FileSet files = ShapesOf(3);
    std::string& table = files["one.dbf"];
    const std::size_t first =
        static_cast<unsigned char>(table[8]) + 256U * static_cast<unsigned char>(table[9]);
    table[first] = '*';
    const CFieldFile file = ReadShapefile(files, "one", std::nullopt);
    ASSERT_EQ(2U, file.LineCount());
    EXPECT_EQ("Line 1", file.fields[0].lines[0].name);
    ASSERT_EQ(1U, file.Notes().size());
    EXPECT_NE(std::string::npos, file.Notes()[0].find("marked as deleted"));
}

TEST(Shapefile, KeepsTheHolesOfABoundaryAllRoundTheGlobe)
{
    const double expected = AreaOf(BoundaryWithHoles(0.0).fields[0].boundaries[0]).squareMetres;
    for (double longitude = -180.0; longitude <= 180.0; longitude += 0.0625 * 45.0) {
        const FileSet files =
            PartsNamed(WriteShapefile(BoundaryWithHoles(longitude), EShapes::Areas));
        const CFieldFile read = ReadShapefile(files, "one", std::nullopt);
        ASSERT_EQ(2U, read.BoundaryCount()) << longitude;
        EXPECT_EQ(2U, read.fields[0].boundaries[0].holes.size()) << longitude;
        EXPECT_NEAR(expected, AreaOf(read.fields[0].boundaries[0]).squareMetres, 1.0) << longitude;
        EXPECT_TRUE(read.fields[0].boundaries[1].holes.empty()) << longitude;
    }
}
