// The main() of fuzz targets in builds without libFuzzer: runs every file that is named, or that
// lies in a folder that is named. Options of libFuzzer are passed over.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> inputsOf(const fs::path& path) {
    if (!fs::is_directory(path)) return {path};
    std::vector<fs::path> inputs;
    for (const auto& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) inputs.push_back(entry.path());
    }
    return inputs;
}

void run(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        std::fprintf(stderr, "%s cannot be read.\n", file.c_str());
        std::exit(EXIT_FAILURE);
    }
    // A buffer of exactly that size, so that a sanitizer sees what reads behind it.
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int count, char** arguments) {
    int runs = 0;
    for (int i = 1; i < count; ++i) {
        if (std::string_view(arguments[i]).starts_with('-')) continue;
        for (const fs::path& input : inputsOf(arguments[i])) {
            // The last line before a crash names its input.
            std::printf("%s\n", input.c_str());
            std::fflush(stdout);
            run(input);
            ++runs;
        }
    }
    std::printf("%d inputs\n", runs);
    return runs > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
