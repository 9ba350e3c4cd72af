#include "tests/integration/PositionFeed.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "api/NavigationAPI.h"
#include "platform/ObjectStore.h"
#include "testing/ScriptedService.h"

using Kestrove::Testing::CAnswer;
using Kestrove::Testing::CScriptedService;

namespace {

std::uint64_t BitsOf(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

const double kExtremes[] = {
    0.0,
    -0.0,
    0.1,
    1.0 / 3.0,
    -1e-300,
    1e22,
    std::numeric_limits<double>::max(),
    std::numeric_limits<double>::lowest(),
    std::numeric_limits<double>::min(),
    std::numeric_limits<double>::denorm_min(),
    std::numeric_limits<double>::epsilon(),
    std::numeric_limits<double>::infinity(),
    -std::numeric_limits<double>::infinity(),
    4503599627370497.5,
};

/// The record that the service has got.
std::string RecordOf(CScriptedService& service)
{
    if (!service.WaitForCalls("SetPositionData", 1)) {
        ADD_FAILURE() << "no record has come";
        return std::string();
    }
    const auto received = service.Received();
    EXPECT_EQ(1, received.front().arguments->Size());
    return received.front().arguments->GetString(0);
}

} // namespace

TEST(PositionFeed, SendsTheRecordAsOneTextInTheOrderOfItsPlaces)
{
    CScriptedService service;
    service.Answer("SetPositionData", CAnswer::Nothing());
    CNavigationAPI navigation;
    EXPECT_EQ(0, navigation.SetPositionData(51.5, -0.25, 80.0, 0.5, 2.5, 0.01, -0.02, 0.1, 1e-3,
                                            2e-3, 3e-3, 0.02, 0.03, 0.04, true, 4, 17, false, true,
                                            1234, 1763689200.125));
    EXPECT_EQ("1=51.5;2=-0.25;3=80;4=0.5;5=2.5;6=0.01;7=-0.02;8=0.1;9=0.001;10=0.002;11=0.003;"
              "12=0.02;13=0.03;14=0.04;15=1;16=4;17=17;18=0;19=1;20=1234;21=1763689200.125",
              RecordOf(service));
}

TEST(PositionFeed, CarriesExtremeDoublesBitForBit)
{
    CScriptedService service;
    service.Answer("SetPositionData", CAnswer::Nothing());
    CNavigationAPI navigation;
    const double* const e = kExtremes;
    navigation.SetPositionData(e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7], e[8], e[9], e[10],
                               e[11], e[12], e[13], false, -1, 0, true, false,
                               std::numeric_limits<int>::min(), std::nan(""));
    Core::IO::ObjectStore store;
    ASSERT_TRUE(store.SetInputMode(RecordOf(service)));
    for (unsigned int tag = 1; tag <= std::size(kExtremes); ++tag) {
        double value = 0.5;
        ASSERT_TRUE(store.ProcessDouble(value, tag)) << tag;
        EXPECT_EQ(BitsOf(kExtremes[tag - 1]), BitsOf(value)) << tag;
    }
    int sample = 0;
    double time = 0.0;
    EXPECT_TRUE(store.ProcessInt(sample, 20));
    EXPECT_EQ(std::numeric_limits<int>::min(), sample);
    EXPECT_TRUE(store.ProcessDouble(time, 21));
    EXPECT_TRUE(std::isnan(time));
}

TEST(PositionFeed, GivesMinusOneWhileThereIsNoService)
{
    CNavigationAPI navigation;
    EXPECT_EQ(-1, navigation.SetPositionData(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, false, 0, 0,
                                             false, false, 0, 0));
}

TEST(PositionFeed, LosesNothingOfAThousandSamplesASecond)
{
    FeedAndCheck(3);
}
