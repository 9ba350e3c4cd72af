#ifndef KESTROVE_TESTS_NAVCTL_FILES_WAYLINELISTS_H
#define KESTROVE_TESTS_NAVCTL_FILES_WAYLINELISTS_H

#include <vector>

#include "tools/navctl/wayline/WaylineList.h"

/// The waylines as the entries 1, 2, ... of a list.
inline WaylineList ListOf(const std::vector<WaylineContent>& contents)
{
    WaylineList list;
    for (const WaylineContent& content : contents) {
        list.entries.push_back({list.entries.size() + 1, content, ""});
    }
    return list;
}

#endif
