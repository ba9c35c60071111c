#include "Platform/PlatformFactory.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

TEST(MacArguments, leaveOutArgumentsThatTheSystemAdds) {
    EXPECT_EQ(withoutSystemArguments({"Quoxelin", "-psn_0_12345", "quoxelin://login"}),
              (std::vector<std::string>{"Quoxelin", "quoxelin://login"}));
    EXPECT_EQ(withoutSystemArguments({"Quoxelin", "-NSDocumentRevisionsDebugMode", "YES",
                                      "-AppleLanguages", "(ja)", "--socket", "d.sock"}),
              (std::vector<std::string>{"Quoxelin", "--socket", "d.sock"}));
    EXPECT_EQ(withoutSystemArguments({"Quoxelin", "-NSNothing"}),
              std::vector<std::string>{"Quoxelin"});
    EXPECT_EQ(withoutSystemArguments({"Quoxelin", "--help", "-x"}),
              (std::vector<std::string>{"Quoxelin", "--help", "-x"}));
}

} // namespace quoxelin::testing
