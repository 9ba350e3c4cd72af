// What holds of both encodings whatever the values, lists and texts: ten thousand cases each, from
// a generator with a fixed seed.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/BElement.h"
#include "tests/doubles/Recording.h"
#include "tests/wayline/AllocationCount.h"
#include "tests/wayline/CapturedOutput.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

constexpr int kCases = 10000;
constexpr unsigned kSeed = 20240601;
constexpr int kHighestPointCount = 60; // a trusted count costs memory, whatever the list holds

class CGenerator
{
public:
    int Int(int lowest, int highest)
    {
        return std::uniform_int_distribution<int>(lowest, highest)(m_random);
    }
    bool OneIn(int chances) { return Int(1, chances) == 1; }
    /// Any bits: zeros, infinities and NaNs of every kind included.
    double AnyDouble()
    {
        const std::uint64_t bits = m_random();
        double number = 0.0;
        std::memcpy(&number, &bits, sizeof number);
        return number;
    }
    /// A position, or once in four any number that is finite.
    double FiniteDouble()
    {
        const double number = AnyDouble();
        if (OneIn(4) && std::isfinite(number)) {
            return number;
        }
        return std::uniform_real_distribution<double>(-1e4, 1e4)(m_random);
    }
    template <typename Element>
    const Element& OneOf(const std::vector<Element>& elements)
    {
        return elements[static_cast<std::size_t>(Int(0, static_cast<int>(elements.size()) - 1))];
    }

private:
    std::mt19937_64 m_random{kSeed};
};

using NextDouble = double (CGenerator::*)();

/// A wayline of a kind with arbitrary values; null for a code that is no kind's.
WaylinePtr AnyWayline(CGenerator& generator, int code, NextDouble next)
{
    const auto vector = [&] {
        const double x = (generator.*next)();
        const double y = (generator.*next)();
        return Core::Maths::Vector3<double>(x, y, (generator.*next)());
    };
    std::vector<Core::Maths::Vector3<double>> points;
    for (int left = generator.Int(1, 12); left > 0; --left) {
        points.push_back(vector());
    }
    switch (code) {
    case EWaylineTypeAB:
        return WaylinePtr(new CABWayline(vector(), vector()));
    case EWaylineTypeAHeading:
        return WaylinePtr(new CAHeadingWayline(vector(), (generator.*next)()));
    case EWaylineTypeCircle:
        return WaylinePtr(new CCircleWayline(vector(), vector(), vector()));
    case EWaylineTypeSpline:
        return WaylinePtr(new CSplineWayline(points));
    case EWaylineTypeABCurve:
        return WaylinePtr(new CABCurveWayline(points));
    case EWaylineTypePath:
        return WaylinePtr(new CPathWayline);
    case EWaylineTypeReplay:
        return WaylinePtr(new CReplayWayline);
    default:
        return WaylinePtr(code == EWaylineTypeEmpty ? new CEmptyWayline : nullptr);
    }
}

bool HaveSameBits(const BListC& left, const BListC& right)
{
    bool same = left.Size() == right.Size();
    for (int i = 0; same && i < left.Size(); ++i) {
        const double leftNumber = left.GetDouble(i);
        const double rightNumber = right.GetDouble(i);
        same = left.TypeAt(i) == right.TypeAt(i) &&
               std::memcmp(&leftNumber, &rightNumber, sizeof leftNumber) == 0;
    }
    return same;
}

TEST(ListFormProperty, EveryKindButTheEmptyOneComesBackToTheBit)
{
    CGenerator generator;
    for (int code = EWaylineTypeAB; code <= EWaylineTypeReplay; ++code) {
        for (int i = 0; i < kCases; ++i) {
            const WaylinePtr written = AnyWayline(generator, code, &CGenerator::AnyDouble);
            const std::unique_ptr<BListC> list(written->ToBList());

            const WaylinePtr read = CWayline::FromBList(list.get());

            ASSERT_TRUE(read) << Doubles::Describe(*list);
            ASSERT_EQ(read->Type(), code);
            const std::unique_ptr<BListC> again(read->ToBList());
            ASSERT_TRUE(HaveSameBits(*list, *again)) << Doubles::Describe(*list);
        }
    }
}

/// Whether every value of `read` is that of `written` to the six decimals of the text form.
bool AreCloseEnough(const BListC& written, const BListC& read)
{
    bool close = written.Size() == read.Size();
    for (int i = 0; close && i < written.Size(); ++i) {
        const double number = written.GetDouble(i);
        const double tolerance = 0.5e-6 + std::abs(number) * std::numeric_limits<double>::epsilon();
        close = std::abs(number - read.GetDouble(i)) <= tolerance;
    }
    return close;
}

TEST(TextFormProperty, EveryKindWithValuesComesBackToSixDecimals)
{
    const CCapturedOutput quiet;
    CGenerator generator;
    for (int code = EWaylineTypeAB; code <= EWaylineTypeABCurve; ++code) {
        for (int i = 0; i < kCases; ++i) {
            const WaylinePtr written = AnyWayline(generator, code, &CGenerator::FiniteDouble);
            const std::string text = written->ToString();

            const WaylinePtr read = CWayline::FromString(text);

            ASSERT_TRUE(read) << text;
            const std::unique_ptr<BListC> before(written->ToBList());
            const std::unique_ptr<BListC> after(read->ToBList());
            ASSERT_TRUE(AreCloseEnough(*before, *after)) << text;
            ASSERT_EQ(read->ToString(), text) << "what was read is written alike";
        }
    }
}

TEST(TextFormProperty, EveryTextHasTheBytesOfPrintf)
{
    CGenerator generator;
    for (int i = 0; i < kCases; ++i) {
        const double x = generator.AnyDouble();
        const double heading = generator.FiniteDouble();
        char printed[1024];

        std::snprintf(printed, sizeof printed, "%d %lf %lf %lf %lf", 1, x, -x, 0.0, heading);

        ASSERT_EQ(CAHeadingWayline({x, -x, 0.0}, heading).ToString(), printed);
    }
}

void AddAnything(CGenerator& generator, BListC& list)
{
    switch (generator.Int(0, 9)) {
    case 0:
        list.AddString(generator.OneOf<std::string>({"", "4", "a word"}));
        break;
    case 1:
        list.AddNothing();
        break;
    case 2: {
        auto nested = std::make_unique<BListC>(nullptr);
        nested->AddInt(4);
        list.Add(nested.release());
        break;
    }
    case 3:
        list.AddInt(
            generator.Int(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
        break;
    default:
        list.AddDouble(generator.AnyDouble());
        break;
    }
}

/// A list whose first two elements are often a code and a point count.
std::unique_ptr<BListC> AnyList(CGenerator& generator)
{
    auto list = std::make_unique<BListC>(nullptr);
    if (generator.OneIn(20)) {
        return list;
    }
    if (generator.OneIn(10)) {
        AddAnything(generator, *list);
    } else {
        list->AddInt(generator.Int(-3, 9));
    }
    const int size =
        generator.OneIn(2) ? generator.OneOf<int>({1, 3, 5, 7, 10}) : generator.Int(1, 40);
    if (size > 1) {
        const int lowest = generator.OneIn(3) ? std::numeric_limits<int>::min() : 0;
        list->AddInt(generator.Int(lowest, kHighestPointCount));
    }
    while (list->Size() < size) {
        AddAnything(generator, *list);
    }
    return list;
}

/// What FromBList() must make of a list, told from the table of the list forms.
enum class EOutcome
{
    Null,
    Wayline,
    LengthError,
};

EOutcome ExpectedOutcome(const BListC& list)
{
    const int size = list.Size();
    const int lengths[] = {7, 5, 10};
    const int code = size == 0 ? -1 : list.GetInt(0);
    switch (code) {
    case 0:
    case 1:
    case 2:
        return size == lengths[code] ? EOutcome::Wayline : EOutcome::Null;
    case 3:
    case 4:
        return size < 3             ? EOutcome::Null
               : list.GetInt(1) < 0 ? EOutcome::LengthError
                                    : EOutcome::Wayline;
    case 5:
    case 6:
        return EOutcome::Wayline;
    default:
        return EOutcome::Null;
    }
}

EOutcome OutcomeOf(BListC& list)
{
    try {
        return CWayline::FromBList(&list) ? EOutcome::Wayline : EOutcome::Null;
    } catch (const std::length_error&) {
        return EOutcome::LengthError;
    }
}

TEST(ListFormProperty, AnyListGivesAWaylineNullOrTheLengthErrorAndLeaksNothing)
{
    CGenerator generator;
    int seen[3] = {};
    for (int i = 0; i < kCases; ++i) {
        const auto list = AnyList(generator);
        const long before = LiveAllocations();

        const EOutcome outcome = OutcomeOf(*list);

        ASSERT_EQ(LiveAllocations(), before) << Doubles::Describe(*list);
        ASSERT_EQ(outcome, ExpectedOutcome(*list)) << Doubles::Describe(*list);
        ++seen[static_cast<int>(outcome)];
    }
    for (const int cases : seen) {
        EXPECT_GT(cases, kCases / 50) << "the generator reaches every outcome";
    }
}

TEST(ListFormProperty, AnyListIsReadByAnyKindWithoutLeaving)
{
    CGenerator generator;
    for (int i = 0; i < kCases; ++i) {
        const auto list = AnyList(generator);
        const std::string before = Doubles::Describe(*list);
        const int code = generator.Int(EWaylineTypeEmpty, EWaylineTypeReplay);
        const WaylinePtr wayline = AnyWayline(generator, code, &CGenerator::AnyDouble);
        const bool negative = (code == 3 || code == 4) && list->Size() > 2 && list->GetInt(1) < 0;

        if (negative) {
            ASSERT_THROW(wayline->LoadBList(list.get()), std::length_error) << before;
        } else {
            ASSERT_NO_THROW(wayline->LoadBList(list.get())) << before;
        }
        ASSERT_EQ(wayline->Type(), code);
        ASSERT_EQ(Doubles::Describe(*list), before);
    }
}

/// Bytes of every value, the NUL included.
std::string AnyBytes(CGenerator& generator)
{
    std::string text;
    for (int left = generator.Int(0, 40); left > 0; --left) {
        text += static_cast<char>(generator.Int(0, 255));
    }
    return text;
}

/// Words that look like the ones of a text form.
std::string AnyWords(CGenerator& generator)
{
    static const std::vector<std::string> kWords = {
        "0",    "1",  "2",          "3",           "4",          "5",   "6",    "-1",
        "7",    "x",  "",           "2147483647",  "2147483648", "1e5", "-0.5", "nan",
        "-inf", "0x", "1431655766", "-2147483648", "1.5",        "%s",  "%n",   "+4"};
    std::string text;
    for (int left = generator.Int(0, 12); left > 0; --left) {
        text += generator.OneOf(kWords) + (left > 1 ? " " : "");
    }
    return text;
}

/// A text form with some of its bytes changed.
std::string DamagedText(CGenerator& generator)
{
    const int code = generator.Int(EWaylineTypeEmpty, EWaylineTypeReplay);
    std::string text = AnyWayline(generator, code, &CGenerator::FiniteDouble)->ToString();
    for (int left = generator.Int(0, 3); left > 0 && !text.empty(); --left) {
        const auto place =
            static_cast<std::size_t>(generator.Int(0, static_cast<int>(text.size()) - 1));
        text[place] = generator.OneOf<char>({' ', 'x', '0', '9', '-', '.', 'e', '\0', '\n'});
    }
    return text;
}

std::string AnyText(CGenerator& generator)
{
    switch (generator.Int(0, 2)) {
    case 0:
        return AnyBytes(generator);
    case 1:
        return AnyWords(generator);
    default:
        return DamagedText(generator);
    }
}

int WordsIn(const std::string& text)
{
    int words = 0;
    std::istringstream stream(text);
    for (std::string word; std::getline(stream, word, ' ');) {
        words += word.empty() ? 0 : 1;
    }
    return words;
}

/// Whether what was built from a text can have come from it.
void ExpectPlausible(const CWayline& wayline, const std::string& text)
{
    EXPECT_EQ(std::stoi(text), wayline.Type());
    const auto* curve = dynamic_cast<const CABCurveWayline*>(&wayline);
    if (curve != nullptr && !curve->points.empty()) {
        EXPECT_EQ(static_cast<int>(curve->points.size()) * 3 + 2, WordsIn(text));
    }
}

TEST(TextFormProperty, AnyTextGivesAWaylineOrNullAndLeaksNothing)
{
    const CCapturedOutput quiet;
    CGenerator generator;
    int built = 0;
    for (int i = 0; i < kCases; ++i) {
        const std::string text = AnyText(generator);
        SCOPED_TRACE(testing::PrintToString(text));
        const long before = LiveAllocations();
        {
            const WaylinePtr wayline = CWayline::FromString(text);
            if (wayline) {
                ++built;
                ExpectPlausible(*wayline, text);
            }
        }
        ASSERT_EQ(LiveAllocations(), before);
        ASSERT_FALSE(testing::Test::HasFailure());
    }
    EXPECT_GT(built, kCases / 50) << "the generator reaches texts that are accepted";
    EXPECT_LT(built, kCases - kCases / 50);
}

TEST(TextFormProperty, AnyTextIsReadByAnyKind)
{
    const CCapturedOutput quiet;
    CGenerator generator;
    for (int i = 0; i < kCases; ++i) {
        const std::string text = AnyText(generator);
        const int code = generator.Int(EWaylineTypeEmpty, EWaylineTypeReplay);
        const WaylinePtr wayline = AnyWayline(generator, code, &CGenerator::AnyDouble);
        const std::string before = wayline->ToString();

        const bool accepted = wayline->LoadString(text);

        ASSERT_EQ(wayline->Type(), code);
        if (accepted) {
            ASSERT_EQ(std::stoi(text), code) << testing::PrintToString(text);
        } else if (WordsIn(text) < 2) {
            ASSERT_EQ(wayline->ToString(), before) << testing::PrintToString(text);
        }
    }
}

} // namespace
} // namespace Kestrove
