// Runs a fuzz target over the files of a folder, without a fuzzer: the ordinary tests' replay of
// seeds and earlier findings.
//
// usage: PROGRAM DIRECTORY...

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* count, char*** arguments);

int main(int count, char** arguments)
{
    if (LLVMFuzzerInitialize != nullptr) {
        LLVMFuzzerInitialize(&count, &arguments);
    }
    int files = 0;
    for (int place = 1; place < count; ++place) {
        if (!std::filesystem::exists(arguments[place])) {
            continue; // nothing has been found with this target
        }
        for (const auto& entry : std::filesystem::directory_iterator(arguments[place])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(file), {}};
            std::cerr << entry.path().filename().string() << '\n';
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                   bytes.size());
            ++files;
        }
    }
    std::cerr << files << " files\n";
    return files > 0 ? 0 : 1;
}
