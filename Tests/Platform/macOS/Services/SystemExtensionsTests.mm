#include "Platform/macOS/MacSystemExtensions.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"

#import <SystemExtensions/SystemExtensions.h>

namespace quoxelin::testing {

namespace {

constexpr const char* tunnel = "com.quoxelin.desktop.PacketTunnel";

class Delegate final : public OSSystemExtensionRequestDelegate {
  public:
    OSSystemExtensionReplacementAction
    actionForReplacingExtension(const OSSystemExtensionRequest&,
                                const OSSystemExtensionProperties& existing,
                                const OSSystemExtensionProperties& extension) override {
        happens("replace " + existing.bundleShortVersion + " by " + extension.bundleShortVersion);
        return action;
    }

    void requestNeedsUserApproval(const OSSystemExtensionRequest&) override { happens("approval"); }

    void didFinishWithResult(const OSSystemExtensionRequest& request, int result) override {
        EXPECT_EQ(request.identifier, tunnel);
        happens("finished " + std::to_string(result));
    }

    void didFailWithError(const OSSystemExtensionRequest&, const Error& error) override {
        happens(error.domain + " " + std::to_string(error.code));
    }

    void foundProperties(const OSSystemExtensionRequest&,
                         const std::vector<OSSystemExtensionProperties>& properties) override {
        std::string text = "found";
        for (const auto& each : properties)
            text += " " + each.bundleIdentifier + " " + each.bundleShortVersion +
                    (each.isEnabled ? " enabled" : "");
        happens(text);
    }

    OSSystemExtensionReplacementAction action = OSSystemExtensionReplacementAction::replace;
    std::vector<std::string> events;

  private:
    void happens(std::string event) {
        EXPECT_TRUE([NSThread isMainThread]);
        events.push_back(std::move(event));
    }
};

class MacSystemExtensionsTest : public ServiceTest {
  protected:
    using Kind = OSSystemExtensionRequest::Kind;

    void submit(Kind kind) { extensions.submitRequest({kind, tunnel, delegate}); }

    /// The delegate's events, after waiting for `count` of them.
    std::vector<std::string> heard(std::size_t count) {
        comesTrue([&] { return delegate->events.size() >= count; });
        return delegate->events;
    }

    MacSystemExtensions extensions;
    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
};

using Events = std::vector<std::string>;

} // namespace

TEST_F(MacSystemExtensionsTest, activatesAnExtensionOnceTheUserAllowsIt) {
    {
        const stage::Held held(@"approval");
        submit(Kind::activation);
        EXPECT_TRUE(delegate->events.empty());
        EXPECT_EQ(heard(1), (Events{"approval"}));
    }
    EXPECT_EQ(heard(2), (Events{"approval", "finished 0"}));
}

TEST_F(MacSystemExtensionsTest, replacesAnotherVersion) {
    stage::extensions().installed[@(tunnel)] = @"0.9";
    submit(Kind::activation);
    EXPECT_EQ(heard(2), (Events{"replace 0.9 by 1.0.0", "finished 0"}));
    EXPECT_TRUE([stage::extensions().installed[@(tunnel)] isEqualToString:@"1.0.0"]);
}

TEST_F(MacSystemExtensionsTest, keepsTheOtherVersionIfTheDelegateSaysSo) {
    stage::extensions().installed[@(tunnel)] = @"0.9";
    delegate->action = OSSystemExtensionReplacementAction::cancel;
    submit(Kind::activation);
    EXPECT_EQ(heard(2), (Events{"replace 0.9 by 1.0.0", "OSSystemExtensionErrorDomain 11"}));
}

TEST_F(MacSystemExtensionsTest, reportsTheInstalledVersion) {
    submit(Kind::properties);
    EXPECT_EQ(heard(1), (Events{"found"}));
    stage::extensions().installed[@(tunnel)] = @"0.9";
    submit(Kind::properties);
    EXPECT_EQ(heard(2).back(), "found com.quoxelin.desktop.PacketTunnel 0.9 enabled");
}

TEST_F(MacSystemExtensionsTest, reportsWhyARequestFailed) {
    stage::failNext(@"submitRequest", errorOf(::OSSystemExtensionErrorDomain, 4));
    submit(Kind::activation);
    EXPECT_EQ(heard(1), (Events{"OSSystemExtensionErrorDomain 4"}));
}

TEST_F(MacSystemExtensionsTest, reportsAnExceptionAsynchronously) {
    stage::raiseNext(@"submitRequest", NSGenericException);
    submit(Kind::activation);
    EXPECT_TRUE(delegate->events.empty());
    EXPECT_EQ(heard(1), (Events{"NSGenericException 0"}));
}

TEST_F(MacSystemExtensionsTest, doesNotCallADestroyedDelegate) {
    {
        const stage::Held held(@"submitRequest");
        submit(Kind::activation);
        stage::extensions().installed[@(tunnel)] = @"0.9";
        submit(Kind::activation);
        submit(Kind::properties);
        delegate = std::make_shared<Delegate>();
    }
    // The second answer comes after the steps that an activation would take meanwhile.
    submit(Kind::properties);
    EXPECT_EQ(heard(1).size(), 1u);
    submit(Kind::properties);
    EXPECT_EQ(heard(2).size(), 2u);
    EXPECT_TRUE([stage::extensions().installed[@(tunnel)] isEqualToString:@"0.9"]);
}

TEST_F(MacSystemExtensionsTest, doesNotTellADestroyedDelegateOfAnApproval) {
    {
        const stage::Held held(@"submitRequest");
        submit(Kind::activation);
        delegate = std::make_shared<Delegate>();
    }
    ASSERT_TRUE(comesTrue([] { return stage::extensions().installed[@(tunnel)] != nil; }));
    EXPECT_EQ(delegate->events, Events());
}

TEST_F(MacSystemExtensionsTest, reportsNoExceptionToADestroyedDelegate) {
    stage::raiseNext(@"submitRequest", NSGenericException);
    submit(Kind::activation);
    delegate = std::make_shared<Delegate>();
    submit(Kind::properties);
    EXPECT_EQ(heard(1), (Events{"found"}));
}

} // namespace quoxelin::testing
