#include "Platform/Linux/Services/NetworkManagerPlugin.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/Recorder.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

const std::string identifier = "com.quoxelin.test.PacketTunnel";
using Kind = OSSystemExtensionRequest::Kind;

/// Records each call as one word.
class Delegate final : public OSSystemExtensionRequestDelegate {
  public:
    OSSystemExtensionReplacementAction
    actionForReplacingExtension(const OSSystemExtensionRequest&,
                                const OSSystemExtensionProperties& existing,
                                const OSSystemExtensionProperties& extension) override {
        told.push_back("replace " + existing.bundleShortVersion + " " +
                       extension.bundleShortVersion);
        return action;
    }
    void requestNeedsUserApproval(const OSSystemExtensionRequest&) override {
        told.push_back("approval");
    }
    void didFinishWithResult(const OSSystemExtensionRequest&, int result) override {
        told.push_back("finished " + std::to_string(result));
    }
    void didFailWithError(const OSSystemExtensionRequest&, const Error& error) override {
        EXPECT_EQ(error.domain, OSSystemExtensionErrorDomain);
        told.push_back("failed " + std::to_string(error.code) + " " + error.localizedDescription);
    }
    void foundProperties(const OSSystemExtensionRequest&,
                         const std::vector<OSSystemExtensionProperties>& properties) override {
        std::string text = "found";
        for (const auto& one : properties)
            text += " " + one.bundleIdentifier + " " + one.bundleShortVersion +
                    (one.isEnabled ? " enabled" : " disabled") +
                    (one.isAwaitingUserApproval ? " awaiting" : "");
        told.push_back(text);
    }

    OSSystemExtensionReplacementAction action = OSSystemExtensionReplacementAction::replace;
    std::vector<std::string> told;
};

using Told = std::vector<std::string>;

} // namespace

class NetworkManagerPluginTest : public ::testing::Test {
  protected:
    NetworkManagerPluginTest() {
        bundleHas(identifier, "2.0");
        std::ofstream(places("").installer) << "installer";
    }

    void bundleHas(const std::string& bundled, const std::string& version) {
        const auto folder = directory.path() / "Contents" / "Library" / "SystemExtensions" /
                            (bundled + ".systemextension") / "Contents";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "Info.plist")
            << "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" << bundled
            << "</string><key>CFBundleShortVersionString</key><string>" << version
            << "</string></dict></plist>";
        writeRegistration(folder / "nm-quoxelin-service.name", version, program);
        std::ofstream(folder / "nm-quoxelin-service.conf") << policy;
    }

    void install(const std::string& version) const {
        writeRegistration(name(), version, program);
        std::ofstream(places("").installedPolicy) << policy;
    }

    static void writeRegistration(const std::filesystem::path& file, const std::string& version,
                                  const std::string& program) {
        std::ofstream(file) << "[VPN Connection]\nname=x\nservice=" << identifier
                            << "\nprogram=" << program << "\n\n[Quoxelin]\nversion=" << version
                            << "\n";
    }

    /// From now on the bundle and what is installed have a plugin without its program.
    void takeProgramAway() {
        program = "/no/such/service";
        bundleHas(identifier, "2.0");
    }

    std::filesystem::path name() const { return directory.path() / "installed.name"; }

    NetworkManagerPlugin::Places places(const std::string& pkexec) const {
        return {.bundle = directory.path(),
                .installedName = name(),
                .installedPolicy = directory.path() / "installed.conf",
                .pkexec = pkexec,
                .installer = directory.path() / "install-extension"};
    }

    OSSystemExtensionRequest request(Kind kind, const std::string& of = identifier) const {
        return {kind, of, delegate};
    }

    /// The delegate's calls for one request. None may come before the request returns.
    Told told(const std::string& pkexec, Kind kind, const std::string& of = identifier) {
        NetworkManagerPlugin extensions(places(pkexec));
        extensions.submitRequest(request(kind, of));
        EXPECT_TRUE(delegate->told.empty());
        runLoopUntil([&] {
            return !delegate->told.empty() && !delegate->told.back().starts_with("replace");
        });
        return std::exchange(delegate->told, {});
    }

    static constexpr const char* policy = "<busconfig/>";

    TemporaryDirectory directory;
    std::string program = "/bin/true";
    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
};

TEST_F(NetworkManagerPluginTest, installsThroughTheOneInstallerAsRoot) {
    const Recorder pkexec;
    EXPECT_EQ(told(pkexec.path(), Kind::activation), Told{"finished 0"});
    EXPECT_EQ(pkexec.arguments(), places("").installer.string() + "\n");
}

TEST_F(NetworkManagerPluginTest, doesNotAskIfOnlyTheVersionDiffers) {
    const Recorder pkexec("exit 1");
    for (const char* version : {"2.0", "1.0", "3.0", ""}) {
        install(version);
        EXPECT_EQ(told(pkexec.path(), Kind::activation), Told{"finished 0"});
    }
    EXPECT_EQ(pkexec.calls(), 0u);
}

TEST_F(NetworkManagerPluginTest, installsAgainIfTheProgramIsMissing) {
    takeProgramAway();
    install("2.0");
    const Recorder pkexec;
    EXPECT_EQ(told(pkexec.path(), Kind::activation), Told{"finished 0"});
    EXPECT_EQ(pkexec.calls(), 1u);
}

TEST_F(NetworkManagerPluginTest, replacesAnotherRegistrationOrPolicyWhenTheDelegateSaysSo) {
    const Recorder pkexec;
    install("1.0");
    writeRegistration(name(), "1.0", "/bin/sh");
    EXPECT_EQ(told(pkexec.path(), Kind::activation), (Told{"replace 1.0 2.0", "finished 0"}));
    install("1.0");
    std::ofstream(places("").installedPolicy) << "another policy";
    EXPECT_EQ(told(pkexec.path(), Kind::activation), (Told{"replace 1.0 2.0", "finished 0"}));
    EXPECT_EQ(pkexec.calls(), 2u);
}

TEST_F(NetworkManagerPluginTest, keepsAnotherRegistrationWhenTheDelegateSaysSo) {
    install("1.0");
    writeRegistration(name(), "1.0", "/bin/sh");
    delegate->action = OSSystemExtensionReplacementAction::cancel;
    const Recorder pkexec;
    EXPECT_EQ(told(pkexec.path(), Kind::activation),
              (Told{"replace 1.0 2.0", "failed 11 The request was canceled."}));
    EXPECT_EQ(pkexec.calls(), 0u);
}

TEST_F(NetworkManagerPluginTest, saysThatTheInstallerIsMissing) {
    std::filesystem::remove(places("").installer);
    const Recorder pkexec("exit 127");
    EXPECT_EQ(told(pkexec.path(), Kind::activation),
              Told{"failed 1 " + places("").installer.string() + " is missing"});
    EXPECT_EQ(pkexec.calls(), 0u);
}

TEST_F(NetworkManagerPluginTest, distinguishesADismissedQuestionFromARefusal) {
    EXPECT_EQ(told(Recorder("exit 126").path(), Kind::activation),
              Told{"failed 11 The authorization was dismissed."});
    EXPECT_EQ(told(Recorder("echo Request dismissed >&2; exit 126").path(), Kind::activation),
              Told{"failed 11 Request dismissed"});
    EXPECT_EQ(told(Recorder("exit 127").path(), Kind::activation),
              Told{"failed 13 An administrator can allow it with: sudo " +
                   places("").installer.string()});
}

TEST_F(NetworkManagerPluginTest, passesOnWhyTheInstallerFailed) {
    EXPECT_EQ(told(Recorder("echo 'no room left' >&2; exit 1").path(), Kind::activation),
              Told{"failed 1 no room left"});
    EXPECT_EQ(told(Recorder("kill -KILL $$").path(), Kind::activation),
              Told{"failed 1 The extension could not be installed."});
}

TEST_F(NetworkManagerPluginTest, failsIfNothingCanAskForAuthorization) {
    const auto answer = told("/no/such/pkexec", Kind::activation);
    ASSERT_EQ(answer.size(), 1u);
    EXPECT_TRUE(answer[0].starts_with("failed 1 /no/such/pkexec cannot be started: ")) << answer[0];
}

TEST_F(NetworkManagerPluginTest, knowsOnlyTheExtensionsOfTheBundle) {
    const Recorder pkexec;
    EXPECT_EQ(told(pkexec.path(), Kind::activation, "com.quoxelin.test.Other"),
              Told{"failed 4 The application contains no extension com.quoxelin.test.Other."});
    EXPECT_EQ(pkexec.calls(), 0u);
}

TEST_F(NetworkManagerPluginTest, aNewerRequestSupersedesTheOneThatIsWaiting) {
    const Recorder pkexec;
    NetworkManagerPlugin extensions(places(pkexec.path()));
    const auto first = std::make_shared<Delegate>();
    extensions.submitRequest({Kind::activation, identifier, first});
    extensions.submitRequest(request(Kind::activation));
    runLoopUntil([&] { return !delegate->told.empty(); });
    EXPECT_EQ(first->told, Told{"failed 12 The request was superseded."});
    EXPECT_EQ(delegate->told, Told{"finished 0"});
    EXPECT_EQ(pkexec.calls(), 1u);
}

TEST_F(NetworkManagerPluginTest, asksAgainAfterADismissedQuestion) {
    const Recorder pkexec("exit 126");
    NetworkManagerPlugin extensions(places(pkexec.path()));
    for (std::size_t round = 1; round <= 2; ++round) {
        extensions.submitRequest(request(Kind::activation));
        runLoopUntil([&] { return delegate->told.size() == round; });
        EXPECT_EQ(pkexec.calls(), round);
    }
}

TEST_F(NetworkManagerPluginTest, foundIsWhatIsInstalled) {
    EXPECT_EQ(told("/no", Kind::properties), Told{"found"});
    install("1.5");
    EXPECT_EQ(told("/no", Kind::properties), Told{"found " + identifier + " 1.5 enabled"});
    EXPECT_EQ(told("/no", Kind::properties, "com.quoxelin.test.Other"), Told{"found"});
    takeProgramAway();
    install("1.5");
    EXPECT_EQ(told("/no", Kind::properties), Told{"found " + identifier + " 1.5 disabled"});
    std::ofstream(name()) << "neither [a] group\nnor = a key\xff\n";
    EXPECT_EQ(told("/no", Kind::properties), Told{"found"});
}

TEST_F(NetworkManagerPluginTest, reportsNothingToDestroyedDelegatesNorAfterDestruction) {
    const auto gate = directory.path() / "gate";
    const Recorder pkexec("while [ -d " + directory.path().string() + " ] && ! [ -e " +
                          gate.string() + " ]; do sleep 0.01; done");
    {
        NetworkManagerPlugin extensions(places(pkexec.path()));
        extensions.submitRequest(request(Kind::activation));
        pollUntil([&] { return pkexec.calls() == 1; });
    }
    std::ofstream(gate) << "open";
    NetworkManagerPlugin extensions(places(pkexec.path()));
    extensions.submitRequest(request(Kind::properties));
    runLoopUntil([&] { return !delegate->told.empty(); });
    extensions.submitRequest({Kind::activation, identifier, {}});
    extensions.submitRequest({Kind::properties, identifier, {}});
    pollUntil([&] { return pkexec.calls() == 2; });
    EXPECT_EQ(delegate->told, Told{"found"});
}

} // namespace quoxelin::testing
