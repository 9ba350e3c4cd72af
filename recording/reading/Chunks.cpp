#include "recording/reading/Chunks.h"

#include <stdexcept>

#include <zstd.h>

CMcapChunking ZstdChunking()
{
    CMcapChunking chunking;
    chunking.compression = "zstd";
    chunking.compress = [](std::string_view records) {
        std::string packed(ZSTD_compressBound(records.size()), '\0');
        const std::size_t size = ZSTD_compress(packed.data(), packed.size(), records.data(),
                                               records.size(), ZSTD_CLEVEL_DEFAULT);
        if (ZSTD_isError(size) != 0) {
            throw std::runtime_error(ZSTD_getErrorName(size));
        }
        packed.resize(size);
        return packed;
    };
    return chunking;
}

std::map<std::string, CMcapReader::Decompression> Decompressions()
{
    return {{"zstd", [](std::string_view packed, std::string& records) {
                 const std::size_t size =
                     ZSTD_decompress(records.data(), records.size(), packed.data(), packed.size());
                 return ZSTD_isError(size) == 0 && size == records.size();
             }}};
}
