#include "tools/navctl/wayline/WaylineList.h"

std::string PointCountProblem(Kestrove::EWaylineType kind, std::size_t count)
{
    const std::optional<std::size_t> wanted = PointCountOf(kind);
    if (!wanted || *wanted == count)
        return {};
    return "the kind " + std::string(KindTitle(kind)) + " has " + std::to_string(*wanted) +
           (*wanted == 1 ? " point" : " points") + ", here are " + std::to_string(count);
}
