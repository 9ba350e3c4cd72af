#include "tools/navctl/operations/Operation.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

const std::vector<COperation>& Operations()
{
    static const std::vector<COperation> kOperations = OperationEntries();
    return kOperations;
}

const COperation& FindOperation(const std::string& name)
{
    const auto found = std::find_if(Operations().begin(), Operations().end(),
                                    [&name](const COperation& each) { return each.name == name; });
    if (found == Operations().end()) {
        throw std::out_of_range(name);
    }
    return *found;
}

std::string MemberName(const std::string& command)
{
    std::string name;
    bool startsWord = true;
    for (const char letter : command) {
        if (letter != '-') {
            name += startsWord ? static_cast<char>(std::toupper(letter)) : letter;
        }
        startsWord = letter == '-';
    }
    return name;
}
