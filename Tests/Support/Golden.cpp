#include "Tests/Support/Golden.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace quoxelin::testing {

namespace {

std::filesystem::path goldenFile(const std::string& name) {
    return std::filesystem::path(GOLDEN_DIRECTORY) / (name + ".txt");
}

::testing::AssertionResult write(const std::filesystem::path& file, const std::string& text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary);
    out << text;
    if (!out.flush())
        return ::testing::AssertionFailure() << file << " cannot be written";
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult firstDifference(const std::filesystem::path& file,
                                           const std::string& expected, const std::string& actual) {
    std::istringstream expectedLines(expected), actualLines(actual);
    std::string expectedLine, actualLine;
    for (int number = 1;; ++number) {
        const bool moreExpected = bool(std::getline(expectedLines, expectedLine));
        const bool moreActual = bool(std::getline(actualLines, actualLine));
        if (moreExpected && moreActual && expectedLine == actualLine)
            continue;
        return ::testing::AssertionFailure()
               << file << ", line " << number
               << "\n  expected: " << (moreExpected ? expectedLine : "the end")
               << "\n       got: " << (moreActual ? actualLine : "the end")
               << "\n(scripts/rebaseline writes the files anew)";
    }
}

} // namespace

std::string goldenText(const std::string& name) {
    std::ifstream in(goldenFile(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

::testing::AssertionResult matchesGolden(const std::string& name, const std::string& text) {
    const auto file = goldenFile(name);
    if (const char* const rebaseline = std::getenv("QUOXELIN_REBASELINE");
        rebaseline != nullptr && std::string_view(rebaseline) == "1")
        return write(file, text);

    if (!std::filesystem::exists(file))
        return ::testing::AssertionFailure() << file << " is missing (see scripts/rebaseline)";
    const auto expected = goldenText(name);
    if (expected == text)
        return ::testing::AssertionSuccess();
    return firstDifference(file, expected, text);
}

} // namespace quoxelin::testing
