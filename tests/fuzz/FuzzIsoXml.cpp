// The reader of ISOXML; what it names as an external file is itself.

#include <cstddef>
#include <cstdint>

#include "tests/fuzz/FuzzFieldFiles.h"
#include "tools/fieldfiles/IsoXmlReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    FuzzFieldFiles::Check([&] {
        return ReadIsoXml(bytes, [&](const std::string& /*name*/) { return std::optional(bytes); });
    });
    return 0;
}
