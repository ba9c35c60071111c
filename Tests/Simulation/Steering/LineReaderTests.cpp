#include "Simulation/Steering/LineReader.h"

#include <gtest/gtest.h>
#include <vector>

namespace quoxelin::testing {

TEST(LineReader, joinsLinesFromAnyPieces) {
    std::vector<std::string> lines;
    LineReader reader([&](std::string_view line) { lines.emplace_back(line); });
    reader.add("first\nsec");
    EXPECT_EQ(lines, (std::vector<std::string>{"first"}));
    reader.add("ond\n\nlast");
    EXPECT_EQ(lines, (std::vector<std::string>{"first", "second", ""}));
    reader.finish();
    reader.finish();
    EXPECT_EQ(lines, (std::vector<std::string>{"first", "second", "", "last"}));
}

} // namespace quoxelin::testing
