// Defines the system's call itself and records its arguments.
#include "Runner/Shared/ExecuteWithPrivileges.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <optional>

namespace {

struct Call {
    const void* authorization;
    std::string path;
    std::uint32_t options;
    std::vector<std::string> arguments;
    bool hasPipe;
};

std::optional<Call> lastCall;
std::int32_t status = 0;
int calls = 0;

} // namespace

extern "C" __attribute__((visibility("default"))) std::int32_t
AuthorizationExecuteWithPrivileges(const void* authorization, const char* pathToTool,
                                   std::uint32_t options, char* const* arguments,
                                   std::FILE** communicationsPipe) {
    ++calls;
    Call call{authorization, pathToTool, options, {}, communicationsPipe != nullptr};
    for (; *arguments != nullptr; ++arguments) {
        call.arguments.emplace_back(*arguments);
        // The system's call may modify the copies.
        if (**arguments != '\0')
            **arguments = '!';
    }
    lastCall = call;
    return status;
}

namespace quoxelin {

TEST(ExecuteWithPrivileges, passesEverythingToTheSystemCall) {
    const int authorization = 0;
    const std::vector<std::string> arguments = {"-v", "", "two words", "許可"};
    status = 0;
    EXPECT_EQ(executeWithPrivileges(&authorization, "/bin/täst", arguments), 0);
    ASSERT_TRUE(lastCall.has_value());
    EXPECT_EQ(lastCall->authorization, &authorization);
    EXPECT_EQ(lastCall->path, "/bin/täst");
    EXPECT_EQ(lastCall->options, 0u);
    EXPECT_EQ(lastCall->arguments, arguments);
    EXPECT_FALSE(lastCall->hasPipe);
}

TEST(ExecuteWithPrivileges, passesCopiesOfTheArguments) {
    const std::vector<std::string> arguments = {"kept", "as it is"};
    executeWithPrivileges(nullptr, "/bin/true", arguments);
    EXPECT_EQ(arguments, (std::vector<std::string>{"kept", "as it is"}));
}

TEST(ExecuteWithPrivileges, passesOnlyTheTerminatorWithoutArguments) {
    lastCall.reset();
    EXPECT_EQ(executeWithPrivileges(nullptr, "/bin/true", {}), 0);
    ASSERT_TRUE(lastCall.has_value());
    EXPECT_TRUE(lastCall->arguments.empty());
}

TEST(ExecuteWithPrivileges, passesAnyStatusBackUnchanged) {
    for (const std::int32_t value : {0, -60006, -60031, 1, INT32_MIN, INT32_MAX, -1}) {
        status = value;
        ::testing::internal::CaptureStdout();
        EXPECT_EQ(executeWithPrivileges(nullptr, "/bin/true", {"a"}), value);
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    }
}

TEST(ExecuteWithPrivileges, callsOnceWhateverTheStatus) {
    calls = 0;
    status = -60008;
    executeWithPrivileges(nullptr, "/bin/true", {});
    EXPECT_EQ(calls, 1);
}

TEST(ExecuteWithPrivileges, passesManyArguments) {
    std::vector<std::string> arguments;
    for (int i = 0; i < 5000; ++i)
        arguments.push_back(std::to_string(i) + std::string(static_cast<std::size_t>(i % 64), 'x'));
    executeWithPrivileges(nullptr, "/bin/true", arguments);
    EXPECT_EQ(lastCall->arguments, arguments);
}

} // namespace quoxelin
