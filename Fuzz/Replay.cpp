// Runs a fuzzer's target once on each file of a folder, in builds without libFuzzer.
#include "Fuzz/Fuzzing.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

int main(int, char** arguments) {
    bool isEmpty = true;
    for (const auto& file : std::filesystem::directory_iterator(arguments[1])) {
        std::ifstream stream(file.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        isEmpty = false;
    }
    return isEmpty;
}
