#include "simulator/http/Gzip.h"

#include <memory>
#include <stdexcept>

#include <zlib.h>

std::string Gzipped(std::string_view bytes)
{
    constexpr int kGzipWindow = 15 + 16; // 16 stands for gzip's frame
    constexpr int kUsualMemory = 8;
    constexpr std::size_t kFrame = 32;
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindow, kUsualMemory,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("nothing can be compressed");
    }
    const std::unique_ptr<z_stream, int (*)(z_stream*)> end(&stream, deflateEnd);
    std::string packed(deflateBound(&stream, static_cast<uLong>(bytes.size())) + kFrame, '\0');
    std::string input(bytes); // what it takes is not constant
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    if (deflate(&stream, Z_FINISH) != Z_STREAM_END) {
        throw std::runtime_error("nothing can be compressed");
    }
    packed.resize(packed.size() - stream.avail_out);
    return packed;
}
