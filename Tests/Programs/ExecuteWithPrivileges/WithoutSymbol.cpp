// A program without the call, as on systems that do not have it.
#include "Runner/Shared/ExecuteWithPrivileges.h"

#include <gtest/gtest.h>

namespace quoxelin {

TEST(ExecuteWithPrivilegesWithoutTheCall, failsWithOneLine) {
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(executeWithPrivileges(nullptr, "/bin/true", {"a"}), -1);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Failed to find AuthorizationExecuteWithPrivileges\n");
}

TEST(ExecuteWithPrivilegesWithoutTheCall, looksUpTheSymbolEachTime) {
    std::vector<std::string> lookedFor;
    const SymbolLookup lookUp = [&](const char* name) -> void* {
        lookedFor.emplace_back(name);
        return nullptr;
    };
    ::testing::internal::CaptureStdout();
    executeWithPrivileges(nullptr, "/bin/true", {}, lookUp);
    executeWithPrivileges(nullptr, "/bin/true", {}, lookUp);
    ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(lookedFor, std::vector<std::string>(2, "AuthorizationExecuteWithPrivileges"));
}

} // namespace quoxelin
