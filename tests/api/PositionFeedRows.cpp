#include "tests/api/ContractTable.h"

namespace Contract {

namespace {

/// How the record is written: each value under its tag, and the text of them all before the list.
std::vector<std::string> RecordLines()
{
    return {"ObjectStore made",
            "SetOutputMode",
            "ProcessDouble 1 1.5",
            "ProcessDouble 2 2.5",
            "ProcessDouble 3 3.5",
            "ProcessDouble 4 4.5",
            "ProcessDouble 5 5.5",
            "ProcessDouble 6 6.5",
            "ProcessDouble 7 7.5",
            "ProcessDouble 8 8.5",
            "ProcessDouble 9 9.5",
            "ProcessDouble 10 10.5",
            "ProcessDouble 11 11.5",
            "ProcessDouble 12 12.5",
            "ProcessDouble 13 13.5",
            "ProcessDouble 14 14.5",
            "ProcessInt 15 1",
            "ProcessInt 16 16",
            "ProcessInt 17 17",
            "ProcessInt 18 0",
            "ProcessInt 19 1",
            "ProcessInt 20 20",
            "ProcessDouble 21 21.5",
            "AsString",
            "list made"};
}

} // namespace

std::vector<Row> PositionFeedRows()
{
    return {
        NotificationRow(
            "int SetPositionData(double latitude, double longitude, double height, double course, "
            "double speed, double roll, double pitch, double yaw, double rollRate, double "
            "pitchRate, double yawRate, double sigmaEast, double sigmaNorth, double sigmaUp, bool "
            "positionValid, int fixQuality, int satellites, bool headingValid, bool reversing, int "
            "sampleNumber, double time)",
            EGuard::Reconnecting, "SetPositionData",
            "[string \"1=1.5;2=2.5;3=3.5;4=4.5;5=5.5;6=6.5;7=7.5;8=8.5;9=9.5;10=10.5;11=11.5;"
            "12=12.5;13=13.5;14=14.5;15=1;16=16;17=17;18=0;19=1;20=20;21=21.5\"]",
            "0", "-1",
            [](CNavigationAPI& api) {
                return Text(api.SetPositionData(1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5, 10.5,
                                                11.5, 12.5, 13.5, 14.5, true, 16, 17, false, true,
                                                20, 21.5));
            })
            .Building(RecordLines())
            .Cleaning({"ObjectStore destroyed"})
            .Documented("[string record]"),
    };
}

} // namespace Contract
