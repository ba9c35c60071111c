#include "Tests/Support/AppFixture.h"

#include <functional>
#include <gtest/gtest.h>

namespace quoxelin::testing {
namespace {

struct Field {
    std::string name;
    std::function<void(AppViewState&)> change;
    std::function<bool(const AppViewState&)> hasChanged;
};

const std::vector<Field> fields = {
    {"login",
     [](auto& store) {
         LoginViewState ann;
         ann.userName = "Ann";
         store.login = ann;
     },
     [](const auto& store) { return store.login->userName == "Ann"; }},
    {"vpn", [](auto& store) { store.vpn = VpnViewState{VPNConnectionStatus::connected}; },
     [](const auto& store) { return store.vpn->status == VPNConnectionStatus::connected; }},
    {"profiles", [](auto& store) { store.profiles = std::vector<ProfileInfo>(2); },
     [](const auto& store) { return store.profiles->size() == 2; }},
    {"currentProfileId", [](auto& store) { store.currentProfileId = "b"; },
     [](const auto& store) { return store.currentProfileId.get() == "b"; }},
    {"helperNeedsApproval", [](auto& store) { store.helperNeedsApproval = true; },
     [](const auto& store) { return store.helperNeedsApproval.get(); }},
    {"helperRegistrationError", [](auto& store) { store.helperRegistrationError = "why"; },
     [](const auto& store) { return store.helperRegistrationError.get() == "why"; }},
};

TEST(AppViewStateFields, tellObserversBeforeEveryChange) {
    for (const auto& field : fields) {
        SCOPED_TRACE(field.name);
        AppFixture app;
        app.run();
        auto& store = *app.appState;
        std::vector<bool> hadChanged;
        const auto subscription =
            store.objectWillChange([&] { hadChanged.push_back(field.hasChanged(store)); });
        field.change(store);
        EXPECT_TRUE(field.hasChanged(store));
        field.change(store);
        EXPECT_EQ(hadChanged, (std::vector{false, true}));
    }
}

} // namespace
} // namespace quoxelin::testing
