#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/BElement.h"

namespace {

constexpr int kIntMax = std::numeric_limits<int>::max();
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Counts how many of its kind live.
class CCountedElement : public BElementC
{
public:
    explicit CCountedElement(int& living) : BElementC(nullptr), m_living(living) { ++m_living; }
    ~CCountedElement() override { --m_living; }
    EBElementType Type() const override { return EBElementType::Nothing; }

private:
    int& m_living;
};

struct IntOfDouble
{
    double value;
    int expected;
};

const IntOfDouble kIntsOfDoubles[] = {
    {0.0, 0},
    {-0.0, 0},
    {2.9, 2},
    {-2.9, -2},
    {2147483647.0, kIntMax},
    {2147483647.9, kIntMax},
    {2147483648.0, kIntMax},
    {-2147483648.0, kIntMin},
    {-2147483648.9, kIntMin},
    {-2147483649.0, kIntMin},
    {1e300, kIntMax},
    {-1e300, kIntMin},
    {kInfinity, kIntMax},
    {-kInfinity, kIntMin},
    {std::numeric_limits<double>::quiet_NaN(), 0},
    {std::numeric_limits<double>::denorm_min(), 0},
};

struct IntOfInteger
{
    std::int64_t value;
    int expected;
};

const IntOfInteger kIntsOfIntegers[] = {
    {0, 0},
    {-7, -7},
    {kIntMax, kIntMax},
    {kIntMin, kIntMin},
    {std::int64_t{kIntMax} + 1, kIntMax},
    {std::int64_t{kIntMin} - 1, kIntMin},
    {std::numeric_limits<std::int64_t>::max(), kIntMax},
    {std::numeric_limits<std::int64_t>::min(), kIntMin},
};

} // namespace

TEST(Atom, TruncatesADoubleTowardZeroAndSaturates)
{
    for (const IntOfDouble& row : kIntsOfDoubles) {
        EXPECT_EQ(row.expected, BAtomC(row.value).IntValue()) << row.value;
    }
}

TEST(Atom, SaturatesAnIntegerBeyond32Bits)
{
    for (const IntOfInteger& row : kIntsOfIntegers) {
        EXPECT_EQ(row.expected, BAtomC(row.value).IntValue()) << row.value;
    }
}

TEST(Atom, SaturatesADoubleAt64Bits)
{
    EXPECT_EQ(std::numeric_limits<std::int64_t>::max(), BAtomC(9.3e18).Int64Value());
    EXPECT_EQ(std::numeric_limits<std::int64_t>::min(), BAtomC(-9.3e18).Int64Value());
    EXPECT_EQ(std::int64_t{9007199254740993}, BAtomC(std::int64_t{9007199254740993}).Int64Value());
    EXPECT_EQ(0, BAtomC(std::nan("")).Int64Value());
}

TEST(Atom, GivesAnIntExactlyAsADouble)
{
    for (const int value : {0, 1, -1, kIntMax, kIntMin}) {
        EXPECT_EQ(static_cast<double>(value), BAtomC(value).DoubleValue()) << value;
    }
}

TEST(Atom, IsZeroAsANumberWhenItHoldsATextOrNothing)
{
    const BAtomC text(std::string("12"));
    const BAtomC nothing;
    for (const BAtomC* const atom : {&text, &nothing}) {
        EXPECT_EQ(0, atom->IntValue()) << static_cast<int>(atom->Type());
        EXPECT_EQ(0.0, atom->DoubleValue()) << static_cast<int>(atom->Type());
    }
}

TEST(Atom, KeepsATextWithZeroBytes)
{
    const std::string text("a\0b", 3);
    EXPECT_EQ(text, BAtomC(text).StringValue());
    EXPECT_EQ("", BAtomC(7).StringValue());
}

TEST(List, ReadsItsNumbersByTheRulesOfAtoms)
{
    for (const IntOfDouble& row : kIntsOfDoubles) {
        BListC list(nullptr);
        list.AddDouble(row.value);
        EXPECT_EQ(row.expected, list.GetInt(0)) << row.value;
    }
    for (const IntOfInteger& row : kIntsOfIntegers) {
        BListC list(nullptr);
        list.AddInt64(row.value);
        EXPECT_EQ(row.expected, list.GetInt(0)) << row.value;
        EXPECT_EQ(row.value, list.GetInt64(0)) << row.value;
    }
}

TEST(List, ReadsNumbersAlikeWhetherInPlaceOrAtoms)
{
    BListC list(nullptr);
    list.AddInt(7);
    list.Add(new BAtomC(7));
    list.AddDouble(-2.5);
    list.Add(new BAtomC(-2.5));
    EXPECT_EQ(7, list.GetInt(0));
    EXPECT_EQ(7, list.GetInt(1));
    EXPECT_EQ(7.0, list.GetDouble(1));
    EXPECT_EQ(-2.5, list.GetDouble(2));
    EXPECT_EQ(-2.5, list.GetDouble(3));
    EXPECT_EQ(-2, list.GetInt(3));
}

TEST(List, GivesZeroPastItsEndAndOnWhatIsNoNumber)
{
    BListC list(nullptr);
    list.Add(new BListC(nullptr));
    list.AddString("5");
    list.AddNothing();
    for (const int index : {0, 1, 2, 3, 1000, -1, kIntMin}) {
        EXPECT_EQ(0, list.GetInt(index)) << index;
        EXPECT_EQ(0, list.GetInt64(index)) << index;
        EXPECT_EQ(0.0, list.GetDouble(index)) << index;
    }
    EXPECT_EQ(nullptr, list.GetList(3));
    EXPECT_EQ("", list.GetString(0));
}

TEST(List, KeepsItsElementsInOrderWithTheirTypes)
{
    BListC list(nullptr);
    list.AddInt(1);
    list.AddDouble(2.5);
    list.AddString("three");
    list.AddNothing();
    auto* const nested = new BListC(nullptr);
    nested->AddInt(5);
    list.Add(nested);
    ASSERT_EQ(5, list.Size());
    EXPECT_EQ(EBElementType::Integer, list.TypeAt(0));
    EXPECT_EQ(EBElementType::Double, list.TypeAt(1));
    EXPECT_EQ("three", list.GetString(2));
    EXPECT_EQ(EBElementType::Nothing, list.TypeAt(3));
    EXPECT_EQ(nested, list.GetList(4));
    EXPECT_EQ(EBElementType::Nothing, list.TypeAt(5));
}

TEST(List, OwnsWhatItIsGiven)
{
    int living = 0;
    auto list = std::make_unique<BListC>(nullptr);
    auto* const nested = new BListC(nullptr);
    nested->Add(new CCountedElement(living));
    list->Add(nested);
    list->Add(new CCountedElement(living));
    EXPECT_EQ(2, living);
    list.reset();
    EXPECT_EQ(0, living);
}

TEST(List, KnowsTheParentOfANestedList)
{
    BListC outer(nullptr);
    auto* const inner = new BListC(nullptr);
    EXPECT_EQ(nullptr, inner->Parent());
    outer.Add(inner);
    EXPECT_EQ(&outer, inner->Parent());
}

TEST(List, OnlyRemembersTheParentItIsMadeUnder)
{
    BListC outer(nullptr);
    const BListC inner(&outer);
    EXPECT_EQ(&outer, inner.Parent());
    EXPECT_EQ(0, outer.Size());
}

TEST(List, IsTheSameWithAReservationOfAnySize)
{
    for (const int count : {-1, 0, 1, 2, 100}) {
        BListC list(nullptr);
        list.Reserve(count);
        list.AddInt(1);
        list.AddDouble(2.5);
        ASSERT_EQ(2, list.Size()) << count;
        EXPECT_EQ(2.5, list.GetDouble(1)) << count;
    }
}

TEST(List, IsDestroyedWithoutRecursionHoweverDeepItIs)
{
    auto outermost = std::make_unique<BListC>(nullptr);
    BListC* innermost = outermost.get();
    for (int level = 0; level < 2'000'000; ++level) {
        auto* const next = new BListC(nullptr);
        innermost->Add(next);
        innermost = next;
    }
    outermost.reset(); // would overflow the stack otherwise
    SUCCEED();
}

TEST(Dictionary, FindsTheFirstOfEachKeyAndKeepsTheOrder)
{
    BDictionaryC dictionary(nullptr);
    dictionary.Add("msgid", new BAtomC(7));
    dictionary.Add("method", new BAtomC(std::string("a")));
    dictionary.Add("msgid", new BAtomC(8));
    ASSERT_EQ(3, dictionary.Size());
    EXPECT_EQ("method", dictionary.KeyAt(1));
    EXPECT_EQ(7, dynamic_cast<const BAtomC&>(*dictionary.Get("msgid")).IntValue());
    EXPECT_EQ(8, dynamic_cast<const BAtomC&>(*dictionary.ValueAt(2)).IntValue());
    EXPECT_EQ(nullptr, dictionary.Get("params"));
}

TEST(Dictionary, HoldsNothingForANullElement)
{
    BDictionaryC dictionary(nullptr);
    dictionary.Add("empty", nullptr);
    ASSERT_NE(nullptr, dictionary.Get("empty"));
    EXPECT_EQ(EBElementType::Nothing, dictionary.Get("empty")->Type());
}

TEST(Dictionary, OwnsWhatItIsGiven)
{
    int living = 0;
    auto dictionary = std::make_unique<BDictionaryC>(nullptr);
    dictionary->Add("a", new CCountedElement(living));
    dictionary.reset();
    EXPECT_EQ(0, living);
}
