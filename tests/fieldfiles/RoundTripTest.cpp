#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/fieldfiles/SampleFields.h"
#include "tools/fieldfiles/FileBytes.h"
#include "tools/fieldfiles/ReadFieldFile.h"
#include "tools/fieldfiles/WriteFieldFile.h"
#include "tools/navctl/Names.h"
#include "tools/navctl/wayline/WaylineContent.h"

namespace {

using Kestrove::EWaylineType;

constexpr int kLinesRoundEachPair = 2000;
constexpr double kMillimetre = 0.001;

/// A folder for the files of a test.
class CTestFolder
{
public:
    CTestFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "fields-XXXXXX").string();
        m_path = mkdtemp(name.data());
    }
    ~CTestFolder() { std::filesystem::remove_all(m_path); }

    std::string Path(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

/// A format with the name of a file of it and the kinds that it holds.
struct Holder
{
    const char* name;
    EFieldFormat format;
    std::vector<EWaylineType> kinds;
};

std::vector<Holder> Holders()
{
    const std::vector<EWaylineType> all{Kestrove::EWaylineTypeAB, Kestrove::EWaylineTypeAHeading,
                                        Kestrove::EWaylineTypeCircle, Kestrove::EWaylineTypeSpline,
                                        Kestrove::EWaylineTypeABCurve};
    return {{"fields.kml", EFieldFormat::Kml, all},
            {"fields.kmz", EFieldFormat::Kmz, all},
            {"fields.shp", EFieldFormat::Shapefile, all},
            {"fields.gpkg", EFieldFormat::GeoPackage, all},
            {"fields.geojson", EFieldFormat::GeoJson, all},
            {"four.zip",
             EFieldFormat::IsoXml,
             {Kestrove::EWaylineTypeAB, Kestrove::EWaylineTypeAHeading,
              Kestrove::EWaylineTypeCircle, Kestrove::EWaylineTypeABCurve}},
            {"three.xml",
             EFieldFormat::IsoXmlThree,
             {Kestrove::EWaylineTypeAB, Kestrove::EWaylineTypeABCurve}}};
}

bool Holds(const Holder& holder, EWaylineType kind)
{
    for (const EWaylineType held : holder.kinds) {
        if (held == kind) {
            return true;
        }
    }
    return false;
}

/// Writes a file of fields and reads it.
CFieldFile Round(CFieldFile file, const Holder& holder, const CTestFolder& folder)
{
    const std::string path = folder.Path(holder.name);
    for (const auto& [target, bytes] :
         FieldFilesToWrite(file, holder.format, path, EShapes::Lines)) {
        std::ofstream(target, std::ios::binary) << bytes;
    }
    return ReadFieldFile(path, ReadFileBytes(path), std::nullopt);
}

/// Fields with lines of the kinds that two formats hold.
CFieldFile FieldsFor(const Holder& first, const Holder& second)
{
    std::mt19937 random(20261122);
    std::vector<EWaylineType> kinds;
    for (const EWaylineType kind : first.kinds) {
        if (Holds(second, kind)) {
            kinds.push_back(kind);
        }
    }
    CFieldFile file;
    for (int i = 0; i < kLinesRoundEachPair; ++i) {
        if (i % 20 == 0) {
            file.fields.push_back({"Field " + std::to_string(i / 20), {}, {}});
        }
        const EWaylineType kind = kinds[static_cast<std::size_t>(i) % kinds.size()];
        const FieldPlace place = RandomPlace(random);
        file.fields.back().lines.push_back(RandomLine(kind, place, random));
    }
    return file;
}

double FarthestApart(const CFieldFile& left, const CFieldFile& right)
{
    double farthest = 0.0;
    for (std::size_t i = 0; i < left.fields.size(); ++i) {
        for (std::size_t j = 0; j < left.fields[i].lines.size(); ++j) {
            const FieldLine& line = left.fields[i].lines[j];
            const FieldLine& back = right.fields.at(i).lines.at(j);
            EXPECT_EQ(line.name, back.name);
            farthest = std::max(farthest, Apart(line, back));
        }
    }
    return farthest;
}

} // namespace

/// One test a format that the lines come from.
class FieldFileRoundTripFrom : public testing::TestWithParam<std::size_t>
{
};

TEST_P(FieldFileRoundTripFrom, BringsLinesThroughEachOtherFormatWithinAMillimetre)
{
    const CTestFolder folder;
    const std::vector<Holder> holders = Holders();
    const Holder& first = holders.at(GetParam());
    for (const Holder& second : holders) {
        SCOPED_TRACE(std::string(first.name) + " to " + second.name);
        const CFieldFile file = FieldsFor(first, second);
        const CFieldFile back = Round(Round(file, first, folder), second, folder);
        EXPECT_TRUE(back.refused.empty());
        ASSERT_EQ(file.LineCount(), back.LineCount());
        EXPECT_LE(FarthestApart(file, back), kMillimetre);
    }
}

INSTANTIATE_TEST_SUITE_P(EachFormat, FieldFileRoundTripFrom,
                         testing::Range<std::size_t>(0, Holders().size()));

TEST(FieldFileRoundTrip, RefusesAKindThatAFormatDoesNotHoldByItsName)
{
    std::mt19937 random(1);
    const CTestFolder folder;
    for (const Holder& holder : Holders()) {
        for (const auto& [name, code] : WaylineKindNames()) {
            const auto kind = static_cast<EWaylineType>(code);
            const bool hasPoints = code >= 0 && code <= Kestrove::EWaylineTypeABCurve;
            if (!hasPoints || Holds(holder, kind)) {
                continue;
            }
            CFieldFile file;
            file.FieldOf("North").lines.push_back(RandomLine(kind, {48.0, 11.0, {}}, random));
            file.fields[0].lines[0].name = "Along the road";
            const std::string problem = ProblemOf([&] { Round(file, holder, folder); });
            EXPECT_NE(std::string::npos, problem.find("Along the road")) << problem;
            EXPECT_NE(std::string::npos, problem.find(KindTitle(kind))) << problem;
        }
    }
}

TEST(FieldFileRoundTrip, KeepsFieldsAndBoundariesWithTheirHoles)
{
    const CTestFolder folder;
    CFieldFile file;
    FieldBoundary boundary;
    boundary.name = "Whole";
    boundary.exterior = {
        {48.0, 11.0, {}}, {48.0, 11.01, {}}, {48.005, 11.012, {}}, {48.01, 11.0, {}}};
    boundary.holes = {{{48.002, 11.002, {}}, {48.002, 11.003, {}}, {48.004, 11.002, {}}}};
    file.FieldOf("West \xC3\xBC <&>").boundaries = {boundary};
    for (const Holder& holder : Holders()) {
        SCOPED_TRACE(holder.name);
        const std::string path = folder.Path(holder.name);
        CFieldFile written = file;
        for (const auto& [target, bytes] :
             FieldFilesToWrite(written, holder.format, path, EShapes::Areas)) {
            std::ofstream(target, std::ios::binary) << bytes;
        }
        const CFieldFile back = ReadFieldFile(path, ReadFileBytes(path), std::nullopt);
        ASSERT_EQ(1U, back.BoundaryCount());
        EXPECT_EQ(file.fields[0].name, back.fields[0].name);
        const FieldBoundary& read = back.fields[0].boundaries[0];
        EXPECT_EQ("Whole", read.name);
        ASSERT_EQ(boundary.exterior.size(), read.exterior.size());
        ASSERT_EQ(1U, read.holes.size());
        for (const FieldPlace& corner : boundary.exterior) {
            const bool isThere =
                std::any_of(read.exterior.begin(), read.exterior.end(),
                            [&](const FieldPlace& place) { return Apart(corner, place) < 0.001; });
            EXPECT_TRUE(isThere);
        }
        EXPECT_EQ(3U, read.holes[0].size());
    }
}
