// What the text form asks of the platform, as the recording double shows it.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/doubles/Recording.h"
#include "tests/wayline/CapturedOutput.h"
#include "wayline/Wayline.h"

namespace Kestrove {
namespace {

using Doubles::Recording;

TEST(TextFormCalls, SplitATextWithoutOptionsForEveryKind)
{
    // A text of each kind that its reader splits into its words.
    for (const char* const text : {"0 1 2 3 4 5 6", "1 1 2 3 4", "2 1 2 3 4 5 6 7 8 9", "3 1 1 2 3",
                                   "4 1 1 2 3", "5 x", "6 x"}) {
        SCOPED_TRACE(text);
        const CCapturedOutput trace;
        Recording().Reset();

        static_cast<void>(CWayline::FromString(text));

        EXPECT_EQ(Recording().Transcript(), std::vector<std::string>());
    }
}

} // namespace
} // namespace Kestrove
