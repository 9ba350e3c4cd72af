#include "tests/api/ContractTable.h"

namespace Contract {

namespace {

/// How the record is written: each value under its tag, and the text of them all before the list.
std::vector<std::string> RecordLines()
{
    return {"ObjectStore made",
            "SetOutputMode",
            "ProcessDouble 1 1.1",
            "ProcessDouble 2 2.1",
            "ProcessDouble 3 3.1",
            "ProcessDouble 4 4.1",
            "ProcessDouble 5 5.1",
            "ProcessDouble 6 6.1",
            "ProcessDouble 7 7.1",
            "ProcessDouble 8 8.1",
            "ProcessDouble 9 9.1",
            "ProcessDouble 10 10.1",
            "ProcessDouble 11 11.1",
            "ProcessDouble 12 12.1",
            "ProcessDouble 13 13.1",
            "ProcessDouble 14 14.1",
            "ProcessInt 15 1",
            "ProcessInt 16 16",
            "ProcessInt 17 17",
            "ProcessInt 18 0",
            "ProcessInt 19 1",
            "ProcessInt 20 20",
            "ProcessDouble 21 21.1",
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
            "[string \"1=1.1;2=2.1;3=3.1;4=4.1;5=5.1;6=6.1;7=7.1;8=8.1;9=9.1;10=10.1;11=11.1;"
            "12=12.1;13=13.1;14=14.1;15=1;16=16;17=17;18=0;19=1;20=20;21=21.1\"]",
            "0", "-1",
            [](CNavigationAPI& api) {
                return Text(api.SetPositionData(1.1, 2.1, 3.1, 4.1, 5.1, 6.1, 7.1, 8.1, 9.1, 10.1,
                                                11.1, 12.1, 13.1, 14.1, true, 16, 17, false, true,
                                                20, 21.1));
            })
            .Building(RecordLines())
            .Cleaning({"ObjectStore destroyed"})
            .Documented("[string record]"),
    };
}

} // namespace Contract
