// The reader of GeoJSON.

#include <cstddef>
#include <cstdint>

#include "tests/fuzz/FuzzFieldFiles.h"
#include "tools/fieldfiles/GeoJson.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    FuzzFieldFiles::Check([&] { return ReadGeoJson(bytes, std::nullopt); });
    return 0;
}
