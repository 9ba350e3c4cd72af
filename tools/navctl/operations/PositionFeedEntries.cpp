#include "tools/navctl/operations/Operation.h"

namespace {

CArgument Angle(const char* name, const char* help)
{
    return Number(name, "rad", "", help).Or("0");
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
            Integer("satellites", "", "", "number of satellites in use").Or("12"),
            Switch("heading-valid", "the yaw can be used").Or("off"),
            Switch("reversing", "the machine moves in reverse").Or("off"),
            Integer("sample-number", "", "", "counts the samples").Or("0"),
            {"time", EArgumentType::Time, "s", "", "Unix time of the sample", "now"}};
}

} // namespace

std::vector<COperation> PositionFeedEntries()
{
    return {Notification("set-position-data", "SetPositionData",
                         "Feeds the service one sample of the machine's position and movement",
                         SampleArguments(), Sent(&CNavigationAPI::SetPositionData))};
}
