#include "tools/navctl/operations/Operation.h"

#include <cctype>

const std::vector<COperation>& Operations()
{
    static const std::vector<COperation> kOperations = [] {
        std::vector<COperation> all;
        for (const auto group : {SteeringEntries, EngageSettingEntries, WaylineEntries,
                                 OffsetEntries, PositionFeedEntries, TuningEntries}) {
            std::vector<COperation> entries = group();
            all.insert(all.end(), entries.begin(), entries.end());
        }
        return all;
    }();
    return kOperations;
}

std::string MemberName(const std::string& command)
{
    std::string name;
    bool startsWord = true;
    for (const char letter : command) {
        if (letter != '-')
            name += startsWord ? static_cast<char>(std::toupper(letter)) : letter;
        startsWord = letter == '-';
    }
    return name;
}
