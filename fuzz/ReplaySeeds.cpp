#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Puts each file of the folders through the fuzzer's function; a finding ends the process. No file at all is
/// a failure.
int main(int argc, char** argv) {
    std::vector<std::filesystem::path> seeds;
    for (int i = 1; i < argc; ++i) {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(argv[i], error))
            seeds.push_back(entry.path());
    }
    std::ranges::sort(seeds);
    for (const std::filesystem::path& seed : seeds) {
        std::printf("%s\n", seed.c_str());
        std::fflush(stdout);
        std::ifstream stream(seed, std::ios::binary);
        if (!stream)
            return 1;
        const std::string bytes(std::istreambuf_iterator<char>(stream), {});
        // A buffer of the exact size, so that the address sanitizer sees a step beyond it.
        const std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
        LLVMFuzzerTestOneInput(data.data(), data.size());
    }
    std::printf("%zu seeds\n", seeds.size());
    return seeds.empty() ? 1 : 0;
}
