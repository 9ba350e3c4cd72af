#include "tools/navctl/operations/Operation.h"

namespace {

CArgument Angle(const char* name, const char* help)
{
    // A turn in either direction; what is beyond was meant in degrees.
    return Number(name, "rad", "-6.2832 to 6.2832", help).Or("0");
}

CArgument Rate(const char* name)
{
    return Number(name, "rad/s", "", "the rate of it").Or("0");
}

CArgument Sigma(const char* name)
{
    // Not 0, which would mean: exact.
    return {name, EArgumentType::Accuracy, "m", "", "one-sigma accuracy", "nan"};
}

std::vector<CArgument> SampleArguments()
{
    return {Number("latitude", "degrees", "-90 to 90", "WGS 84"),
            Number("longitude", "degrees", "-180 to 180", "WGS 84"),
            Number("height", "m", "", "above the ellipsoid"),
            Angle("course", "course over ground, clockwise from north"),
            Number("speed", "m/s", "", "ground speed").Or("0"),
            Angle("roll", "roll"),
            Angle("pitch", "pitch"),
            Angle("yaw", "yaw, clockwise from north"),
            Rate("roll-rate"),
            Rate("pitch-rate"),
            Rate("yaw-rate"),
            Sigma("sigma-east"),
            Sigma("sigma-north"),
            Sigma("sigma-up"),
            Switch("position-valid", "the position can be used").Or("on"),
            Integer("fix-quality", "", "0 to 8", "quality as in the NMEA sentence GGA").Or("4"),
            Integer("satellites", "", "-1 to 200",
                    "number of satellites in use, -1 where it is not known")
                .Or("12"),
            Switch("heading-valid", "the yaw can be used").Or("off"),
            Switch("reversing", "the machine moves in reverse").Or("off"),
            Integer("sample-number", "", "", "counts the samples").Or("0"),
            // The years 2000 to 2099.
            {"time", EArgumentType::Time, "s", "946684800 to 4102444800", "Unix time of the sample",
             "now"}};
}

} // namespace

std::vector<COperation> PositionFeedEntries()
{
    return {Notification("set-position-data", "SetPositionData",
                         "Feeds the service one sample of the machine's position and movement",
                         SampleArguments(), Sent(&CNavigationAPI::SetPositionData))};
}
