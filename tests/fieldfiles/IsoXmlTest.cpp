#include <map>

#include <gtest/gtest.h>

#include "tests/fieldfiles/SampleFields.h"
#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/IsoXmlReader.h"
#include "tools/fieldfiles/IsoXmlWriter.h"

namespace {

std::string TaskData(const std::string& content, const std::string& version = "4")
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><ISO11783_TaskData VersionMajor=\"" +
           version +
           "\" VersionMinor=\"3\" ManagementSoftwareManufacturer=\"X\" "
           "ManagementSoftwareVersion=\"1\" DataTransferOrigin=\"1\">" +
           content + "</ISO11783_TaskData>";
}

std::string Pattern(const std::string& attributes, const std::string& points)
{
    return TaskData(
        "<PFD A=\"PFD1\" C=\"North\" D=\"0\"><GGP A=\"GGP1\"><GPN A=\"GPN1\" B=\"One\" " +
        attributes + "><LSG A=\"5\">" + points + "</LSG></GPN></GGP></PFD>");
}

std::string Point(int type, const char* north, const char* east)
{
    return "<PNT A=\"" + std::to_string(type) + "\" C=\"" + north + "\" D=\"" + east + "\"/>";
}

CFieldFile Read(const std::string& main, const std::map<std::string, std::string>& external = {})
{
    return ReadIsoXml(main, [&](const std::string& name) -> std::optional<std::string> {
        const auto found = external.find(name);
        return found == external.end() ? std::nullopt : std::optional(found->second);
    });
}

} // namespace

TEST(IsoXml, PutsNorthFirstAndEastSecond)
{
    const FieldLine line = OnlyLine(
        Read(Pattern("C=\"1\"", Point(6, "52.000000000", "5.0") + Point(7, "52.25", "5.5"))));
    EXPECT_EQ(Kestrove::EWaylineTypeAB, line.kind);
    EXPECT_EQ("One", line.name);
    ASSERT_EQ(2U, line.places.size());
    EXPECT_EQ(52.25, line.places[1].latitude);
    EXPECT_EQ(5.5, line.places[1].longitude);
    EXPECT_FALSE(line.places[1].height);
}

TEST(IsoXml, ReadsAPatternOfEachKind)
{
    const std::string a = Point(6, "52.0", "5.0");
    const std::string b = Point(7, "52.001", "5.0001");
    const FieldLine plus = OnlyLine(Read(Pattern("C=\"2\" G=\"45.5\"", a)));
    EXPECT_EQ(Kestrove::EWaylineTypeAHeading, plus.kind);
    EXPECT_DOUBLE_EQ(45.5, plus.headingDegrees);
    const FieldLine curve =
        OnlyLine(Read(Pattern("C=\"3\" F=\"4\"", a + Point(9, "52.0005", "5.0002") + b)));
    EXPECT_EQ(Kestrove::EWaylineTypeABCurve, curve.kind);
    ASSERT_EQ(3U, curve.places.size());
    EXPECT_EQ(5.0002, curve.places[1].longitude);
    const GroundCircle circle =
        CircleOf(OnlyLine(Read(Pattern("C=\"4\" D=\"3\" H=\"100000\"", Point(8, "52.0", "5.0")))));
    EXPECT_NEAR(100.0, circle.radius, 0.001);
    EXPECT_LE(Apart(circle.centre, {52.0, 5.0, {}}), 0.001);
}

TEST(IsoXml, DrivesACurveFromAToBInWhateverOrderItsPointsStand)
{
    const std::string a = Point(6, "52.0", "5.0");
    const std::string b = Point(7, "52.004", "5.002");
    const std::string one = Point(9, "52.001", "5.0002");
    const std::string two = Point(9, "52.002", "5.0006");
    const std::string three = Point(9, "52.003", "5.0012");
    const std::vector<double> fromAToB{52.0, 52.001, 52.002, 52.003, 52.004};
    for (const std::string& points :
         {a + one + two + three + b, b + three + two + one + a, a + b + one + two + three,
          b + a + one + two + three, a + b + three + two + one, one + two + three + b + a,
          a + one + b + two + three, one + two + a + three + b}) {
        std::vector<double> norths;
        for (const FieldPlace& place : OnlyLine(Read(Pattern("C=\"3\"", points))).places) {
            norths.push_back(place.latitude);
        }
        EXPECT_EQ(fromAToB, norths) << points;
    }
}

TEST(IsoXml, LeavesACurvesPointsBeyondAAndBAndTurnsItByOneOfTheTwo)
{
    const std::string a = Point(6, "52.001", "5.0");
    const std::string b = Point(7, "52.002", "5.0");
    const std::string before = Point(9, "52.0", "5.0");
    const std::string behind = Point(9, "52.003", "5.0");
    const auto first = [](const std::string& points) {
        return OnlyLine(Read(Pattern("C=\"3\"", points))).places.front().latitude;
    };
    EXPECT_EQ(52.0, first(before + a + b + behind));
    EXPECT_EQ(52.0, first(behind + b + a + before));
    EXPECT_EQ(52.001, first(b + a));
    EXPECT_EQ(52.001, first(b + a + a));
    EXPECT_EQ(52.0, first(b + before));
    EXPECT_EQ(52.001, first(before + a));
    EXPECT_EQ(52.0, first(before + b));
    EXPECT_EQ(52.0, first(before + behind));
}

TEST(IsoXml, TakesAPivotsRadiusWhereAIsItsCentre)
{
    const std::string centre = Point(8, "52.0", "5.0") + Point(6, "52.0", "5.0");
    const GroundCircle circle = CircleOf(OnlyLine(Read(Pattern("C=\"4\" H=\"50000\"", centre))));
    EXPECT_NEAR(50.0, circle.radius, 0.001);
    EXPECT_NE(std::string::npos,
              Read(Pattern("C=\"4\"", centre)).refused.at(0).reason.find("are the same"));
}

TEST(IsoXml, NumbersFurtherFieldsOfAName)
{
    const std::string line = "<GGP A=\"GGP1\"><GPN A=\"GPN1\" B=\"Spiral\" C=\"5\"/></GGP>";
    const auto field = [&](const std::string& name) {
        return "<PFD A=\"PFD1\" C=\"" + name + "\">" + line + "</PFD>";
    };
    const CFieldFile file = Read(TaskData(field("North") + field("North (2)") + field("North") +
                                          field("South") + field("North")));
    std::vector<std::string> names;
    for (std::size_t i = 0; i < file.fields.size(); ++i) {
        names.push_back(file.fields[i].name);
        EXPECT_EQ(names.back(), file.refused.at(i).field);
    }
    EXPECT_EQ((std::vector<std::string>{"North", "North (2)", "North (3)", "South", "North (4)"}),
              names);
}

TEST(IsoXml, DrivesAnArcInItsDirection)
{
    const std::string points =
        Point(8, "52.0", "5.0") + Point(6, "52.0009", "5.0") + Point(7, "52.0", "5.0014");
    for (const bool isClockwise : {true, false}) {
        const char* const kind = isClockwise ? "C=\"4\" D=\"1\"" : "C=\"4\" D=\"2\"";
        const FieldLine line = OnlyLine(Read(Pattern(kind, points)));
        const GroundCircle circle = CircleOf(line);
        EXPECT_EQ(isClockwise, circle.isClockwise);
        EXPECT_LE(Apart(circle.centre, {52.0, 5.0, {}}), 0.001);
        EXPECT_LE(Apart(line.places[0], {52.0009, 5.0, {}}), 0.001);
    }
}

TEST(IsoXml, RefusesASpiralByItsName)
{
    const CFieldFile file =
        Read(Pattern("C=\"5\" E=\"4\"", Point(6, "52.0", "5.0") + Point(7, "52.1", "5.1")));
    EXPECT_EQ(0U, file.LineCount());
    ASSERT_EQ(1U, file.refused.size());
    EXPECT_EQ("One", file.refused[0].name);
    EXPECT_NE(std::string::npos, file.refused[0].reason.find("spiral"));
}

TEST(IsoXml, ReadsLineStringsOfVersionThree)
{
    const std::string two = Point(2, "52.0", "5.0") + Point(2, "52.0", "5.001");
    const CFieldFile file =
        Read(TaskData("<PFD A=\"PFD1\" C=\"North\" D=\"0\"><LSG A=\"5\" B=\"AB\" C=\"3000\">" +
                          two + "</LSG><LSG A=\"5\">" + two + Point(2, "52.1", "5.1") +
                          "</LSG><LSG A=\"7\" B=\"Fence\">" + two + "</LSG></PFD>",
                      "3"));
    ASSERT_EQ(2U, file.LineCount());
    EXPECT_EQ(Kestrove::EWaylineTypeAB, file.fields[0].lines[0].kind);
    EXPECT_EQ("AB", file.fields[0].lines[0].name);
    EXPECT_EQ(Kestrove::EWaylineTypeABCurve, file.fields[0].lines[1].kind);
}

TEST(IsoXml, SurvivesWhatRealFilesHave)
{
    const std::string good =
        "<GPN A=\"GPN-182999999999999999\" B=\"Good\" C=\"1\" P500_Note=\"x\" I=\"\"><P500_Extra/>"
        "<LSG A=\"5\"><PNT A=\"6\" C=\"52.00000000000001\" D=\"5\" E=\"\" "
        "F=\"\"/><PNT A=\"7\" C=\" 52.1 \" D=\"5.000000000000001\" E=\"1500\"/></LSG></GPN>";
    for (const std::string bad :
         {"", "<GPN A=\"GPN-182\" B=\"x\" C=\"3\"/>",
          "<GPN A=\"GPN1\" B=\"x\" C=\"3\"><LSG A=\"5\"/></GPN>",
          "<GPN A=\"GPN1\" B=\"x\" C=\"3\"><LSG A=\"5\"><PNT A=\"6\" C=\"1\" D=\"1\"/></LSG></GPN>",
          "<GPN A=\"GPN1\" B=\"x\" C=\"2\"><LSG A=\"5\"><PNT A=\"6\" C=\"1\" D=\"1\"/></LSG></GPN>",
          "<GPN A=\"GPN1\" B=\"x\" C=\"1\"><LSG A=\"5\"><PNT A=\"6\" C=\"\" D=\"\" "
          "J=\"PNT00001\"/></LSG></GPN>",
          "<GPN A=\"GPN1\" B=\"x\" C=\"1\"><LSG A=\"5\"><PNT A=\"6\" C=\"91\" "
          "D=\"0\"/></LSG></GPN>",
          "<GPN A=\"GPN1\" B=\"x\" C=\"7\"><LSG A=\"5\"><PNT A=\"6\" C=\"1\" "
          "D=\"0\"/></LSG></GPN>"}) {
        SCOPED_TRACE(bad);
        const CFieldFile file =
            Read("\xEF\xBB\xBF" + TaskData("<!-- x --><DVC A=\"DVC1\"/><PFD A=\"PFD0\" C=\"\" "
                                           "P1_x=\"\"><GGP A=\"GGP0\">" +
                                           bad + good + "</GGP></PFD>"));
        const FieldLine line = OnlyLine(file);
        EXPECT_EQ("Good", line.name);
        EXPECT_EQ(52.1, line.places[1].latitude);
        EXPECT_EQ(1.5, line.places[1].height);
        EXPECT_EQ(bad.empty() ? 0U : 1U, file.refused.size());
    }
}

TEST(IsoXml, MergesExternalFilesAndNamesThoseThatAreMissing)
{
    const std::string external = "<XFC><PFD A=\"PFD2\" C=\"South\" D=\"0\"/></XFC>";
    const CFieldFile file =
        Read(TaskData("<XFR A=\"PFD00001\" B=\"1\"/><XFR A=\"PFD00002\" B=\"1\"/>"
                      "<PFD A=\"PFD1\" C=\"North\" D=\"0\"/>"),
             {{"PFD00001.XML", external}});
    ASSERT_EQ(2U, file.fields.size());
    EXPECT_EQ("South", file.fields[0].name);
    ASSERT_EQ(1U, file.Notes().size());
    EXPECT_NE(std::string::npos, file.Notes()[0].find("PFD00002"));
}

TEST(IsoXml, RefusesWhatReachesOutOfTheFile)
{
    const struct
    {
        std::string file;
        const char* reason;
    } rows[] = {
        {TaskData("<XFR A=\"PFD/../../etc/passwd\" B=\"1\"/>"), "outside"},
        {TaskData("<XFR A=\"../PFD00001\" B=\"1\"/>"), "outside"},
        {TaskData("<XFR A=\"/etc/PFD1\" B=\"1\"/>"), "outside"},
        {TaskData("<XFR A=\"..\\PFD00001\" B=\"1\"/>"), "outside"},
        {TaskData("<XFR A=\"C:PFD00001\" B=\"1\"/>"), "outside"},
        {TaskData("<XFR A=\"../TSK00001\" B=\"1\"/>"), "outside"},
        {"<!DOCTYPE x [<!ENTITY a SYSTEM \"file:///etc/passwd\">]>" + TaskData("<PFD C=\"&a;\"/>"),
         "document type"},
        {"<ISO11783_TaskData>\n<PFD A=\"PFD1\n</ISO11783_TaskData>", "line "},
        {"<other/>", "no ISOXML"},
    };
    for (const auto& row : rows) {
        const std::string problem = ProblemOf([&] { Read(row.file); });
        EXPECT_NE(std::string::npos, problem.find(row.reason)) << problem;
    }
}

TEST(IsoXml, WritesNineDecimalsAndNamesOfThirtyTwoCharacters)
{
    CFieldFile file;
    Field& field = file.FieldOf("");
    FieldLine line;
    line.kind = Kestrove::EWaylineTypeAB;
    line.name = std::string(31, 'x') + "\xC3\xBC\x01too long";
    line.places = {{-33.123456789012, -70.5, 12.3456}, {-33.0, -70.000000001, {}}};
    field.lines = {line};
    const std::string text = WriteIsoXml(file, EIsoXmlVersion::Four);
    EXPECT_NE(std::string::npos, text.find("B=\"" + std::string(31, 'x') + "\xC3\xBC\"")) << text;
    EXPECT_NE(std::string::npos,
              text.find("<PNT A=\"6\" C=\"-33.123456789\" D=\"-70.500000000\" E=\"12346\""))
        << text;
    EXPECT_NE(std::string::npos, text.find("<PFD A=\"PFD1\" C=\"Field 1\" D=\"0\">")) << text;
    ASSERT_EQ(1U, file.Notes().size());
}
