// The reader of Shapefiles: the input is two lengths of two bytes, then the .shp and the .shx of
// these lengths, then the .dbf.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tests/fuzz/FuzzFieldFiles.h"
#include "tools/fieldfiles/Shapefile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 4) {
        return 0;
    }
    const std::string bytes(reinterpret_cast<const char*>(data) + 4, size - 4);
    const std::size_t shapes = std::min<std::size_t>(data[0] + 256U * data[1], bytes.size());
    const std::size_t index =
        std::min<std::size_t>(data[2] + 256U * data[3], bytes.size() - shapes);
    FuzzFieldFiles::Check([&] {
        return ReadShapefile({{"x.shp", bytes.substr(0, shapes)},
                              {"x.shx", bytes.substr(shapes, index)},
                              {"x.dbf", bytes.substr(shapes + index)}},
                             "x", std::nullopt);
    });
    return 0;
}
