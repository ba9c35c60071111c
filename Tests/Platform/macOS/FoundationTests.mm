#include "Platform/macOS/MacDispatch.h"
#include "Platform/macOS/MacFoundation.h"
#include "Platform/macOS/ObjC.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <atomic>
#include <fstream>
#include <future>
#include <gtest/gtest.h>

namespace quoxelin::testing {

TEST(MacText, isConvertedUnchanged) {
    for (const std::string text : {"", "plain", "接続できません", "a\0b", "🙂"})
        EXPECT_EQ(toString(toNSString(text)), text);
    EXPECT_EQ(toString(toNSString("a\xff"
                                  "b")),
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(toString(nil), "");
}

TEST(MacErrors, keepTheirDetails) {
    NSError* const error = [NSError errorWithDomain:@"QXDomain"
                                               code:7
                                           userInfo:@{NSLocalizedDescriptionKey : @"why"}];
    EXPECT_EQ(toError(error), (Error{"QXDomain", 7, "why"}));
    EXPECT_EQ(toOptionalError(nil), std::nullopt);
    const auto raised =
        withoutExceptions([] { [NSException raise:NSRangeException format:@"%d is too much", 5]; });
    ASSERT_FALSE(raised);
    EXPECT_EQ(raised.error(), (Error{"NSRangeException", 0, "5 is too much"}));
}

TEST(MacFoundation, readsTheInformationOfABundle) {
    const TemporaryDirectory directory;
    const auto app = directory.path() / "Other.app";
    // The layouts of macOS and of GNUstep.
    for (const auto* name : {"Contents/Info.plist", "Resources/Info-gnustep.plist"}) {
        std::filesystem::create_directories((app / name).parent_path());
        std::ofstream(app / name)
            << R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)"
               "<key>CFBundleIdentifier</key><string>com.example.other</string></dict></plist>";
    }
    const MacBundle bundle;
    EXPECT_EQ(bundle.identifierOfBundleAt(app), "com.example.other");
    EXPECT_EQ(bundle.identifierOfBundleAt(directory.path() / "Nothing.app"), std::nullopt);
    EXPECT_EQ(bundle.identifierOfBundleAt({}), std::nullopt);
    EXPECT_EQ(bundle.stringForInfoDictionaryKey("QXNothing"), std::nullopt);
    EXPECT_EQ(bundle.pathForResource("nothing"), std::nullopt);
}

TEST(MacFoundation, hasNoIdentifierWithoutABundle) {
    EXPECT_EQ(MacBundle().bundleIdentifier(), std::nullopt);
}

TEST(MacFoundation, keepsDefaults) {
    MacUserDefaults defaults;
    defaults.set("QXTestKey", "値");
    EXPECT_EQ(defaults.string("QXTestKey"), "値");
    [[::NSUserDefaults standardUserDefaults] setObject:@5 forKey:@"QXTestKey"];
    EXPECT_EQ(defaults.string("QXTestKey"), std::nullopt);
    defaults.removeObject("QXTestKey");
    EXPECT_EQ(defaults.string("QXTestKey"), std::nullopt);
}

TEST(MacFoundation, knowsTheDirectoriesForFiles) {
    const MacFileManager files;
    ASSERT_FALSE(files.applicationSupportDirectories().empty());
    EXPECT_TRUE(files.applicationSupportDirectories().front().is_absolute());
    EXPECT_TRUE(std::filesystem::is_directory(files.temporaryDirectory()));
    EXPECT_GE(MacProcessInfo().operatingSystemMajorVersion(), 13);
    EXPECT_EQ(MacProcessInfo().processName(), "macos-tests");
}

namespace {

struct Token {
    explicit Token(int& living) : living(living) { ++living; }
    Token(const Token&) = delete;
    Token& operator=(const Token&) = delete;
    ~Token() { --living; }
    int& living;
};

} // namespace

TEST(MacDispatch, worksOnTheMainThreadInOrder) {
    MacDispatch dispatch;
    std::vector<int> done;
    dispatch.global(QualityOfService::utility).async([&] {
        EXPECT_FALSE(dispatch.isMainThread());
        for (int i = 0; i < 3; ++i)
            dispatch.main().async([&, i] {
                EXPECT_TRUE(dispatch.isMainThread());
                done.push_back(i);
            });
    });
    EXPECT_TRUE(comesTrue([&] { return done.size() == 3; }));
    EXPECT_EQ(done, (std::vector<int>{0, 1, 2}));
}

TEST(MacDispatch, releasesWorkOnTheQueueThatRanIt) {
    MacDispatch dispatch;
    int living = 0;
    bool done = false;
    dispatch.main().async([&, token = std::make_shared<Token>(living)] { done = true; });
    EXPECT_TRUE(comesTrue([&] { return done; }));
    EXPECT_EQ(living, 0);
}

TEST(MacDispatch, releasesWorkFromOtherThreadsOnTheQueueThatRanIt) {
    constexpr int count = 2000;
    MacDispatch dispatch;
    const auto submitter = dispatch.makeSerial("test");
    std::atomic<int> elsewhere = 0;
    int released = 0;
    const auto release = [&](void*) {
        if (dispatch.isMainThread())
            ++released;
        else
            ++elsewhere;
    };
    submitter->async([&] {
        for (int i = 0; i < count; ++i)
            dispatch.main().async([token = std::shared_ptr<void>(nullptr, release)] {});
    });
    EXPECT_TRUE(comesTrue([&] { return released + elsewhere == count; }));
    EXPECT_EQ(elsewhere, 0);
    EXPECT_TRUE(submitter->wait(seconds(60)));
}

TEST(MacDispatch, waitsForTheWorkOfASerialQueue) {
    MacDispatch dispatch;
    const auto queue = dispatch.makeSerial("test");
    std::promise<void> go;
    std::atomic<bool> done = false;
    queue->async([&done, going = go.get_future().share()] {
        going.wait();
        done = true;
    });
    EXPECT_FALSE(queue->wait(std::chrono::milliseconds(1)));
    go.set_value();
    EXPECT_TRUE(queue->wait(seconds(60)));
    EXPECT_TRUE(done);
}

TEST(MacDispatch, performsDelayedWorkInTheOrderOfItsDelays) {
    MacDispatch dispatch;
    std::vector<std::string> done;
    dispatch.main().asyncAfter(std::chrono::milliseconds(100), [&] { done.push_back("late"); });
    dispatch.main().asyncAfter(std::chrono::milliseconds(1), [&] { done.push_back("early"); });
    EXPECT_TRUE(comesTrue([&] { return done.size() == 2; }));
    EXPECT_EQ(done, (std::vector<std::string>{"early", "late"}));
}

TEST(MacDispatch, tellsTheTimeAndSleeps) {
    MacDispatch dispatch;
    const auto before = dispatch.date();
    EXPECT_GE(before, std::chrono::system_clock::now() - seconds(60));
    dispatch.sleep(std::chrono::milliseconds(1));
    EXPECT_GE(dispatch.date() - before, std::chrono::milliseconds(1));
}

TEST(MacDispatch, dropsWorkThatWasCanceled) {
    MacDispatch dispatch;
    int done = 0, living = 0;
    auto canceled = dispatch.main().asyncAfter(
        std::chrono::milliseconds(1), [&, token = std::make_shared<Token>(living)] { done += 10; });
    dispatch.main().asyncAfter(std::chrono::milliseconds(2), [&] {
        EXPECT_TRUE(dispatch.isMainThread());
        ++done;
    });
    canceled.cancel();
    EXPECT_EQ(living, 0);
    EXPECT_TRUE(comesTrue([&] { return done > 0; }));
    EXPECT_EQ(done, 1);
}

TEST(MacDispatch, keepsTheOrderOfASerialQueue) {
    MacDispatch dispatch;
    const auto queue = dispatch.makeSerial("test");
    std::vector<int> done;
    for (int i = 0; i < 100; ++i)
        queue->async([&, i] { done.push_back(i); });
    queue->async([&] { done.push_back(100); });
    EXPECT_TRUE(queue->wait(seconds(60)));
    EXPECT_EQ(done.size(), 101u);
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
}

} // namespace quoxelin::testing
