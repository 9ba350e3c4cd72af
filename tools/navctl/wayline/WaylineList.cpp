#include "tools/navctl/wayline/WaylineList.h"

namespace {

/// One point has no direction in which it could be followed.
constexpr std::size_t kFewestOfACurve = 2;

} // namespace

std::string PointCountProblem(Kestrove::EWaylineType kind, std::size_t count)
{
    const std::optional<std::size_t> wanted = PointCountOf(kind);
    if (!wanted && count < kFewestOfACurve) {
        return "the kind " + std::string(KindTitle(kind)) + " has " +
               std::to_string(kFewestOfACurve) + " points or more, here " +
               (count == 1 ? "is " : "are ") + std::to_string(count);
    }
    if (!wanted || *wanted == count) {
        return {};
    }
    return "the kind " + std::string(KindTitle(kind)) + " has " + std::to_string(*wanted) +
           (*wanted == 1 ? " point" : " points") + ", here are " + std::to_string(count);
}
