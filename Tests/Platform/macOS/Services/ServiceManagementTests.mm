#include "Platform/macOS/MacServiceManagement.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"

namespace quoxelin::testing {

namespace {

class MacServiceManagementTest : public ServiceTest {
  protected:
    /// The adapter completes before its calls return.
    static Result<void, Error> registering(SMAppService& service) {
        std::optional<Result<void, Error>> outcome;
        service.registerService([&](Result<void, Error> answer) { outcome = std::move(answer); });
        return outcome.value();
    }

    static int statusOf(SMAppService& service) {
        int status = -1;
        service.status([&](int answer) { status = answer; });
        return status;
    }

    MacServiceManagement management;
};

} // namespace

TEST_F(MacServiceManagementTest, registersTheApplicationAndTheHelperSeparately) {
    const auto application = management.mainApp();
    const auto helper = management.daemon("helper.plist");
    EXPECT_TRUE(registering(*application));
    EXPECT_EQ(statusOf(*application), 1);
    EXPECT_EQ(stage::serviceStatus()[@""].intValue, 1);
    EXPECT_EQ(statusOf(*helper), 0);
    EXPECT_TRUE(registering(*helper));
    EXPECT_TRUE(registering(*helper));
    EXPECT_EQ(statusOf(*management.daemon("helper.plist")), 1);
    EXPECT_TRUE(helper->unregisterService());
    EXPECT_EQ(statusOf(*helper), 0);
}

TEST_F(MacServiceManagementTest, reportsWhyRegistrationFailed) {
    const auto helper = management.daemon("helper.plist");
    stage::failNext(@"register", errorOf(@"SMAppServiceErrorDomain", 1));
    stage::serviceStatus()[@"helper.plist"] = @2;
    EXPECT_EQ(registering(*helper).error(),
              (Error{"SMAppServiceErrorDomain", 1, "it did not work"}));
    EXPECT_EQ(statusOf(*helper), 2);
    stage::raiseNext(@"unregister", NSGenericException);
    EXPECT_EQ(helper->unregisterService().error().domain, "NSGenericException");
}

} // namespace quoxelin::testing
