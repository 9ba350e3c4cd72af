#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "platform/ObjectStore.h"

using Core::IO::ObjectStore;

namespace {

std::uint64_t BitsOf(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

std::string TextOf(double value)
{
    ObjectStore store;
    store.SetOutputMode();
    EXPECT_TRUE(store.ProcessDouble(value, 1));
    return store.AsString();
}

double ReadBack(const std::string& text)
{
    ObjectStore store;
    EXPECT_TRUE(store.SetInputMode(text)) << text;
    double value = 0.0;
    EXPECT_TRUE(store.ProcessDouble(value, 1)) << text;
    return value;
}

struct StoredDouble
{
    double value;
    const char* text;
};

const StoredDouble kStoredDoubles[] = {
    {0.0, "1=0"},
    {-0.0, "1=-0"},
    {51.5, "1=51.5"},
    {0.1, "1=0.1"},
    {1.0 / 3.0, "1=0.3333333333333333"},
    {1e22, "1=1e+22"},
    {-1e-7, "1=-1e-07"},
    {std::numeric_limits<double>::max(), "1=1.7976931348623157e+308"},
    {std::numeric_limits<double>::min(), "1=2.2250738585072014e-308"},
    {std::numeric_limits<double>::denorm_min(), "1=5e-324"},
    {std::numeric_limits<double>::infinity(), "1=inf"},
    {-std::numeric_limits<double>::infinity(), "1=-inf"},
};

const char* const kMalformed[] = {"1",    "=5",   "1=2;",    ";1=2",  "1=2;;2=3", "a=1",
                                  "-1=2", "1 =2", "1=2;1=3", "1=2;x", ";",        "4294967296=1"};

const char* const kNoStoredInts[] = {"1=", "1=1.5", "1=x", "1= 1", "1=2147483648", "1=1=1"};

} // namespace

TEST(ObjectStore, WritesPairsInTheOrderWritten)
{
    ObjectStore store;
    store.SetOutputMode();
    double latitude = 51.5;
    double longitude = -0.25;
    int valid = 1;
    double time = 0.1;
    store.ProcessDouble(latitude, 1);
    store.ProcessDouble(longitude, 2);
    store.ProcessInt(valid, 15);
    store.ProcessDouble(time, 21);
    EXPECT_EQ("1=51.5;2=-0.25;15=1;21=0.1", store.AsString());
}

TEST(ObjectStore, WritesByDefault)
{
    ObjectStore store;
    int value = -3;
    EXPECT_TRUE(store.ProcessInt(value, 4));
    EXPECT_EQ("4=-3", store.AsString());
}

TEST(ObjectStore, WritesADoubleInItsShortestFormAndReadsBackItsBits)
{
    for (const StoredDouble& row : kStoredDoubles) {
        EXPECT_EQ(row.text, TextOf(row.value)) << row.value;
        EXPECT_EQ(BitsOf(row.value), BitsOf(ReadBack(row.text))) << row.text;
    }
}

TEST(ObjectStore, WritesEveryNanWithoutASign)
{
    EXPECT_EQ("1=nan", TextOf(std::nan("")));
    EXPECT_EQ("1=nan", TextOf(-std::nan("")));
    EXPECT_TRUE(std::isnan(ReadBack("1=nan")));
}

TEST(ObjectStore, ReadsBackRandomBitsOfDoubles)
{
    std::mt19937_64 generator(20);
    for (int round = 0; round < 10000; ++round) {
        const std::uint64_t bits = generator();
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof(value));
        if (!std::isnan(value)) {
            ASSERT_EQ(bits, BitsOf(ReadBack(TextOf(value)))) << TextOf(value);
        }
    }
}

TEST(ObjectStore, ReadsValuesByTheirTagsInAnyOrder)
{
    ObjectStore store;
    ASSERT_TRUE(store.SetInputMode("1=51.5;15=1;2=-0.25"));
    double second = 0.0;
    int fifteenth = 0;
    EXPECT_TRUE(store.ProcessInt(fifteenth, 15));
    EXPECT_TRUE(store.ProcessDouble(second, 2));
    EXPECT_EQ(1, fifteenth);
    EXPECT_EQ(-0.25, second);
}

TEST(ObjectStore, LeavesAValueWhoseTagIsMissing)
{
    ObjectStore store;
    ASSERT_TRUE(store.SetInputMode("1=2"));
    double value = 7.0;
    int number = 8;
    EXPECT_FALSE(store.ProcessDouble(value, 2));
    EXPECT_FALSE(store.ProcessInt(number, 2));
    EXPECT_EQ(7.0, value);
    EXPECT_EQ(8, number);
}

TEST(ObjectStore, ReadsNoIntFromWhatIsNone)
{
    for (const char* const text : kNoStoredInts) {
        ObjectStore store;
        ASSERT_TRUE(store.SetInputMode(text)) << text;
        int value = 8;
        EXPECT_FALSE(store.ProcessInt(value, 1)) << text;
        EXPECT_EQ(8, value) << text;
    }
}

TEST(ObjectStore, RefusesATextThatIsNoRecordAndIsEmptyThen)
{
    for (const char* const text : kMalformed) {
        ObjectStore store;
        EXPECT_FALSE(store.SetInputMode(text)) << text;
        int value = 8;
        EXPECT_FALSE(store.ProcessInt(value, 1)) << text;
        EXPECT_EQ("", store.AsString()) << text;
    }
}

TEST(ObjectStore, TakesAnEmptyTextAsAnEmptyRecord)
{
    ObjectStore store;
    EXPECT_TRUE(store.SetInputMode(""));
    EXPECT_EQ("", store.AsString());
}

TEST(ObjectStore, StartsAnewWithEachMode)
{
    ObjectStore store;
    int value = 1;
    store.ProcessInt(value, 1);
    store.SetOutputMode();
    EXPECT_EQ("", store.AsString());
    ASSERT_TRUE(store.SetInputMode("2=5"));
    store.SetOutputMode();
    store.ProcessInt(value, 3);
    EXPECT_EQ("3=1", store.AsString());
}
