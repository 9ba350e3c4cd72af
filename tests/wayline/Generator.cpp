#include "tests/wayline/Generator.h"

using Kestrove::WaylinePtr;

WaylinePtr AnyWayline(CGenerator& generator, int code, NextDouble next, int fewestPoints)
{
    const auto vector = [&] {
        const double x = (generator.*next)();
        const double y = (generator.*next)();
        return Core::Maths::Vector3<double>(x, y, (generator.*next)());
    };
    std::vector<Core::Maths::Vector3<double>> points;
    for (int left = generator.Int(fewestPoints, 12); left > 0; --left) {
        points.push_back(vector());
    }
    switch (code) {
    case Kestrove::EWaylineTypeAB:
        return WaylinePtr(new Kestrove::CABWayline(vector(), vector()));
    case Kestrove::EWaylineTypeAHeading:
        return WaylinePtr(new Kestrove::CAHeadingWayline(vector(), (generator.*next)()));
    case Kestrove::EWaylineTypeCircle:
        return WaylinePtr(new Kestrove::CCircleWayline(vector(), vector(), vector()));
    case Kestrove::EWaylineTypeSpline:
        return WaylinePtr(new Kestrove::CSplineWayline(points));
    case Kestrove::EWaylineTypeABCurve:
        return WaylinePtr(new Kestrove::CABCurveWayline(points));
    case Kestrove::EWaylineTypePath:
        return WaylinePtr(new Kestrove::CPathWayline);
    case Kestrove::EWaylineTypeReplay:
        return WaylinePtr(new Kestrove::CReplayWayline);
    default:
        return WaylinePtr(code == Kestrove::EWaylineTypeEmpty ? new Kestrove::CEmptyWayline
                                                              : nullptr);
    }
}
