// The readers of both forms: a list or a text gives a wayline or none, and what a wayline writes is
// read back as it was written.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include "tests/fuzz/FuzzMessages.h"
#include "wayline/Wayline.h"

namespace {

using Kestrove::CWayline;
using Kestrove::WaylinePtr;

/// The number of points in a list is trusted, so it is held small here.
bool ClaimsTooManyPoints(const BListC& list)
{
    constexpr int kMostPoints = 100'000;
    return list.GetInt(1) > kMostPoints;
}

void ReadList(BListC& list)
{
    if (ClaimsTooManyPoints(list)) {
        return;
    }
    try {
        const WaylinePtr wayline = CWayline::FromBList(&list);
        if (wayline.Get() == nullptr) {
            return;
        }
        const std::unique_ptr<BListC> written(wayline->ToBList());
        const WaylinePtr again = CWayline::FromBList(written.get());
        if (again.Get() != nullptr) { // a wayline without points does not come back
            const std::unique_ptr<BListC> writtenAgain(again->ToBList());
            FuzzMessages::Require(FuzzMessages::Encode(*written) ==
                                      FuzzMessages::Encode(*writtenAgain),
                                  "the list form comes back to the bit");
        }
        (void)wayline->ToString();
    } catch (const std::length_error&) {
        FuzzMessages::Require(list.GetInt(1) < 0, "only a negative count is a length error");
    }
}

void ReadText(const std::string& text)
{
    const WaylinePtr wayline = CWayline::FromString(text);
    if (wayline.Get() == nullptr) {
        return;
    }
    const std::string written = wayline->ToString();
    const WaylinePtr again = CWayline::FromString(written);
    if (again.Get() != nullptr) { // path and replay do not read their own text
        FuzzMessages::Require(again->ToString() == written, "the text form comes back as it was");
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzMessages::SilenceStandardOutput();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    for (const MessageC& message : FuzzMessages::Decode(data, size).messages) {
        if (message.arguments != nullptr) {
            ReadList(*message.arguments);
        }
    }
    ReadText(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
