#include "Simulation/Steering/LineReader.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace quoxelin::testing {

namespace {

class LineReader : public ::testing::Test {
  protected:
    LineReader() { EXPECT_EQ(::pipe(ends), 0); }

    ~LineReader() override {
        ::close(ends[0]);
        closeWriter();
    }

    void write(std::string_view bytes) {
        EXPECT_EQ(::write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    void closeWriter() {
        if (ends[1] >= 0)
            ::close(ends[1]);
        ends[1] = -1;
    }

    bool read() { return reader.read(ends[0]); }

    std::vector<std::string> lines;

  private:
    int ends[2] = {-1, -1};
    quoxelin::LineReader reader{[this](std::string_view line) { lines.emplace_back(line); }};
};

} // namespace

TEST_F(LineReader, putsALineTogetherThatComesInPieces) {
    write("first\nsec");
    EXPECT_TRUE(read());
    EXPECT_EQ(lines, (std::vector<std::string>{"first"}));
    write("ond\n\n");
    EXPECT_TRUE(read());
    EXPECT_EQ(lines, (std::vector<std::string>{"first", "second", ""}));
}

TEST_F(LineReader, leavesOutALastLineWithoutAnEnd) {
    write("whole\nhalf");
    closeWriter();
    EXPECT_TRUE(read());
    EXPECT_FALSE(read());
    EXPECT_EQ(lines, (std::vector<std::string>{"whole"}));
}

} // namespace quoxelin::testing
