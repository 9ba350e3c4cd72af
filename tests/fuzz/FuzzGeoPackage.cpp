// The reader of GeoPackages.

#include <cstddef>
#include <cstdint>

#include "tests/fuzz/FuzzFieldFiles.h"
#include "tools/fieldfiles/GeoPackage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    FuzzFieldFiles::Check([&] { return ReadGeoPackage(bytes, std::nullopt); });
    return 0;
}
