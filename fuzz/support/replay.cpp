// Plays the inputs of a folder, in place of libFuzzer. The last one that it names is the one that it ended with.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " FOLDER\n";
        return 2;
    }
    std::vector<std::filesystem::path> inputs;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        inputs.push_back(entry.path());
    }
    std::sort(inputs.begin(), inputs.end());
    for (const auto& path : inputs) {
        std::cout << path.filename().string() << std::endl;
        std::ifstream file(path, std::ios::binary);
        const std::string input((std::istreambuf_iterator<char>(file)), {});
        if (!file.is_open() || file.bad()) {
            std::cerr << path << " cannot be read\n";
            return 1;
        }
        // A copy of exactly that size, so that a sanitizer sees the first byte behind it.
        const std::vector<std::uint8_t> bytes(input.begin(), input.end());
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::cout << inputs.size() << " inputs played\n";
    if (inputs.empty()) std::cerr << argv[1] << " has no input\n";
    return inputs.empty() ? 1 : 0;
}
