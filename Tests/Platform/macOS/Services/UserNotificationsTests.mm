#include "Platform/macOS/MacUserNotifications.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"

namespace quoxelin::testing {

namespace {

class Delegate final : public UNUserNotificationCenterDelegate {
  public:
    void willPresent(const UNNotificationRequest& notification,
                     std::function<void(unsigned)> completionHandler) override {
        EXPECT_TRUE([NSThread isMainThread]);
        shown.push_back(notification.identifier + " " + notification.title + ": " +
                        notification.body + (notification.defaultSound ? " with a sound" : ""));
        completionHandler(UNNotificationPresentationOptionBanner);
    }

    std::vector<std::string> shown;
};

class MacUserNotificationsTest : public ServiceTest {
  protected:
    void authorize() {
        center.requestAuthorization(
            UNAuthorizationOptionAlert,
            [this, kept = keepsake()](bool granted, std::optional<Error> error) {
                EXPECT_EQ(kept, keepsake());
                answers.add((granted ? "granted" : "refused") +
                            (error ? " " + error->domain : std::string()));
            });
    }

    void ask() {
        center.getNotificationSettings([this, kept = keepsake()](UNNotificationSettings settings) {
            EXPECT_EQ(kept, keepsake());
            answers.add(std::to_string(settings.authorizationStatus));
        });
    }

    static void setAuthorization(::UNAuthorizationStatus status) {
        stage::changeNotifications(
            [status](stage::NotificationState& state) { state.authorization = status; });
    }

    MacUserNotificationCenter center;
    Answers<std::string> answers;
};

using Texts = std::vector<std::string>;

} // namespace

TEST_F(MacUserNotificationsTest, reportsWhatTheUserAllows) {
    ask();
    ASSERT_TRUE(answers.arrive(1));
    authorize();
    ASSERT_TRUE(answers.arrive(2));
    ask();
    ASSERT_TRUE(answers.arrive(3));
    EXPECT_EQ(answers.get(), (Texts{"0", "granted", "2"}));
}

TEST_F(MacUserNotificationsTest, reportsThatTheUserRefused) {
    setAuthorization(::UNAuthorizationStatusDenied);
    stage::failNext(@"requestAuthorization", errorOf(@"UNErrorDomain", 1));
    authorize();
    ASSERT_TRUE(answers.arrive());
    EXPECT_EQ(answers.get(), (Texts{"refused UNErrorDomain"}));
}

TEST_F(MacUserNotificationsTest, allowsNothingWithoutACenter) {
    stage::raiseNext(@"currentNotificationCenter", NSInternalInconsistencyException);
    ask();
    stage::raiseNext(@"currentNotificationCenter", NSInternalInconsistencyException);
    authorize();
    EXPECT_EQ(answers.get(), (Texts{"1", "refused NSInternalInconsistencyException"}));
    stage::raiseNext(@"currentNotificationCenter", NSInternalInconsistencyException);
    center.add({"one", "Quoxelin", "blocked", true});
    stage::raiseNext(@"currentNotificationCenter", NSInternalInconsistencyException);
    center.setDelegate({});
    EXPECT_EQ(stage::notifications().added.count, 0u);
}

TEST_F(MacUserNotificationsTest, answersTwoAtATimeAndLate) {
    {
        const stage::Held settings(@"getNotificationSettings"),
            authorization(@"requestAuthorization");
        ask();
        ask();
        authorize();
        EXPECT_TRUE(answers.get().empty());
    }
    EXPECT_TRUE(answers.arrive(3));
}

TEST_F(MacUserNotificationsTest, showsANotificationAsTheDelegateWants) {
    const auto delegate = std::make_shared<Delegate>();
    center.setDelegate(delegate);
    setAuthorization(::UNAuthorizationStatusAuthorized);
    center.add({"one", "Quoxelin", "blocked", true});
    center.add({"two", "Quoxelin", "quiet", false});
    ASSERT_TRUE(comesTrue([] { return stage::notifications().presented.count == 2; }));
    EXPECT_EQ(delegate->shown,
              (Texts{"one Quoxelin: blocked with a sound", "two Quoxelin: quiet"}));
    EXPECT_EQ(stage::notifications().presented[0].unsignedIntValue,
              UNNotificationPresentationOptionBanner);
    EXPECT_NE(stage::notifications().added[0].content.sound, nil);
}

TEST_F(MacUserNotificationsTest, showsNothingForADestroyedDelegate) {
    center.setDelegate(std::make_shared<Delegate>());
    setAuthorization(::UNAuthorizationStatusAuthorized);
    center.add({"one", "Quoxelin", "blocked", false});
    ASSERT_TRUE(comesTrue([] { return stage::notifications().presented.count == 1; }));
    EXPECT_EQ(stage::notifications().presented[0].unsignedIntValue, 0u);
    EXPECT_EQ(stage::notifications().added[0].content.sound, nil);
}

} // namespace quoxelin::testing
