// Stands in for the fuzzing engine: runs a fuzzer once with each file of the given directories.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "fuzz/support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size);

int main(int argc, char **argv) {
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            const std::string content = fuzz::read_file(entry.path());
            std::fprintf(stderr, "%s\n", entry.path().c_str());
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(content.data()),
                                   content.size());
            ++files;
        }
    }
    std::printf("%d inputs\n", files);
    return files > 0 ? 0 : 1;
}
