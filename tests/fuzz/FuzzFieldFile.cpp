// The reader of any file of fields, zips among them.

#include <cstddef>
#include <cstdint>

#include "tests/fuzz/FuzzFieldFiles.h"
#include "tools/fieldfiles/ReadFieldFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    FuzzFieldFiles::Check([&] { return ReadFieldFile("-", bytes, std::nullopt); });
    return 0;
}
