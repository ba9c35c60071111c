#include "Runner/Shared/AppLogger.h"

#include "Simulation/System/SimulatedFoundation.h"
#include "Simulation/System/SimulatedSystemLog.h"
#include "Tests/Support/FileSizeLimit.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/VirtualDispatch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace quoxelin::testing {

namespace fs = std::filesystem;

class AppLoggerTest : public ::testing::Test {
  protected:
    AppLoggerTest() {
        fileManager.applicationSupport = {home.path() / "Application Support"};
        fileManager.temporary = home.path();
    }

    AppLogger makeLogger() { return AppLogger({dispatch, fileManager, systemLog}); }

    void write(AppLogger& logger, const std::string& tag, const std::string& message) {
        logger.log(tag, message);
        dispatch.runUntilIdle();
    }

    fs::path directory() const { return home.path() / "Application Support" / "Quoxelin"; }
    fs::path file() const { return directory() / "app.log"; }

    TemporaryDirectory home;
    VirtualDispatch dispatch;
    SimulatedFileManager fileManager;
    SimulatedSystemLog systemLog;
};

TEST_F(AppLoggerTest, writesTagTimestampAndMessage) {
    auto logger = makeLogger();
    write(logger, "HashiBus", "Connected to socket");
    EXPECT_EQ(contentsOf(file()), "[HashiBus] 2024-05-01 13:02:03.417 Connected to socket\n");
}

TEST_F(AppLoggerTest, writesEachLinesOwnTime) {
    auto logger = makeLogger();
    for (int line = 0; line < 3; ++line) {
        write(logger, "App", "x");
        dispatch.advance(seconds(0.4));
    }
    EXPECT_EQ(contentsOf(file()), "[App] 2024-05-01 13:02:03.417 x\n"
                                  "[App] 2024-05-01 13:02:03.817 x\n"
                                  "[App] 2024-05-01 13:02:04.217 x\n");
}

TEST_F(AppLoggerTest, writesOnASeparateQueue) {
    makeLogger();
    EXPECT_EQ(dispatch.serialLabels(), std::vector<std::string>{"com.quoxelin.desktop.applogger"});
}

TEST_F(AppLoggerTest, writesToTheSystemLogAtOnceWithoutATimestamp) {
    auto logger = makeLogger();
    logger.log("App", "Quoxelin Desktop App Launching...");
    EXPECT_EQ(systemLog.entries(), (std::vector<SimulatedSystemLog::Entry>{
                                       {"", "", "[App] Quoxelin Desktop App Launching..."}}));
    EXPECT_EQ(contentsOf(file()), "");
}

TEST_F(AppLoggerTest, stampsALineWithTheTimeOfTheCall) {
    // Time advances between the call and the write, so the line is written later.
    struct PassingTime final : Dispatch {
        explicit PassingTime(Dispatch& queues) : queues(queues) {}
        MainQueue& main() override { return queues.main(); }
        Queue& global(QualityOfService quality) override { return queues.global(quality); }
        std::unique_ptr<SerialQueue> makeSerial(std::string label) override {
            return queues.makeSerial(std::move(label));
        }
        bool isMainThread() const override { return queues.isMainThread(); }
        void sleep(Duration duration) override { queues.sleep(duration); }
        std::chrono::system_clock::time_point date() const override {
            return queues.date() + passed;
        }
        Dispatch& queues;
        std::chrono::microseconds passed{0};
    } time(dispatch);
    AppLogger logger({time, fileManager, systemLog});
    logger.log("App", "first");
    time.passed = std::chrono::microseconds(583'900);
    write(logger, "App", "second");
    EXPECT_EQ(contentsOf(file()), "[App] 2024-05-01 13:02:03.417 first\n"
                                  "[App] 2024-05-01 13:02:04.000 second\n");
}

TEST_F(AppLoggerTest, keepsTheFileInApplicationSupport) {
    fileManager.applicationSupport.push_back(home.path() / "Second best");
    EXPECT_EQ(makeLogger().path(), file().string());
    EXPECT_TRUE(fs::is_directory(directory()));
    EXPECT_FALSE(fs::exists(home.path() / "Second best"));
    EXPECT_FALSE(fs::exists(file()));
}

TEST_F(AppLoggerTest, fallsBackToAFlatFileInTheTemporaryDirectory) {
    fileManager.applicationSupport.clear();
    auto logger = makeLogger();
    EXPECT_EQ(logger.path(), (home.path() / "quoxelin-app.log").string());
    write(logger, "UI", "here");
    EXPECT_EQ(contentsOf(home.path() / "quoxelin-app.log"), "[UI] 2024-05-01 13:02:03.417 here\n");
}

TEST_F(AppLoggerTest, usesThePathEvenIfTheDirectoryCannotBeMade) {
    std::ofstream(home.path() / "Application Support") << "a file in the way";
    auto logger = makeLogger();
    EXPECT_EQ(logger.path(), file().string());
    write(logger, "App", "lost");
    EXPECT_EQ(contentsOf(home.path() / "Application Support"), "a file in the way");
    EXPECT_EQ(systemLog.texts(), std::vector<std::string>{"[App] lost"});

    fs::remove(home.path() / "Application Support");
    fs::create_directories(directory());
    write(logger, "App", "the way is free");
    EXPECT_EQ(contentsOf(file()), "[App] 2024-05-01 13:02:03.417 the way is free\n");
}

TEST_F(AppLoggerTest, closesTheFileAfterEachLine) {
    auto logger = makeLogger();
    const auto firstFree = [] {
        const int free = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::close(free);
        return free;
    };
    const auto before = firstFree();
    write(logger, "App", "a line");
    EXPECT_EQ(firstFree(), before);
}

TEST_F(AppLoggerTest, appendsToAnExistingFile) {
    fs::create_directories(directory());
    std::ofstream(file()) << "from an earlier run\n";
    auto logger = makeLogger();
    write(logger, "App", "first");
    std::ofstream(file(), std::ios::app) << "from another process\n";
    write(logger, "App", "second");
    EXPECT_EQ(contentsOf(file()), "from an earlier run\n"
                                  "[App] 2024-05-01 13:02:03.417 first\n"
                                  "from another process\n"
                                  "[App] 2024-05-01 13:02:03.417 second\n");
}

TEST_F(AppLoggerTest, createsTheFileAgainWhenItWasRemoved) {
    auto logger = makeLogger();
    write(logger, "App", "first");
    fs::remove(file());
    write(logger, "App", "second");
    EXPECT_EQ(contentsOf(file()), "[App] 2024-05-01 13:02:03.417 second\n");
}

TEST_F(AppLoggerTest, dropsLinesWhileTheDirectoryIsGone) {
    auto logger = makeLogger();
    fs::remove_all(directory());
    write(logger, "App", "lost");
    EXPECT_FALSE(fs::exists(directory()));
    EXPECT_EQ(systemLog.texts(), std::vector<std::string>{"[App] lost"});
}

TEST_F(AppLoggerTest, dropsLinesWithoutWritePermission) {
    fs::create_directories(file()); // a directory, so even root cannot write to it
    auto logger = makeLogger();
    write(logger, "App", "lost");
    EXPECT_TRUE(fs::is_directory(file()));
    EXPECT_EQ(systemLog.texts(), std::vector<std::string>{"[App] lost"});
}

TEST_F(AppLoggerTest, writesAMessageOfSeveralLinesUnchanged) {
    auto logger = makeLogger();
    logger.log("CLI", "quoxelind up output: one\n\ntwo\n");
    write(logger, "CLI", "");
    EXPECT_EQ(contentsOf(file()),
              "[CLI] 2024-05-01 13:02:03.417 quoxelind up output: one\n\ntwo\n\n"
              "[CLI] 2024-05-01 13:02:03.417 \n");
}

TEST_F(AppLoggerTest, keepsInvalidUtf8OutOfTheFile) {
    auto logger = makeLogger();
    for (const auto* const bytes :
         {"\xFF", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE3\x81"})
        logger.log("HashiBus", bytes);
    write(logger, "HashiBus", "許可 \xF0\x9F\x98\x80");
    EXPECT_EQ(contentsOf(file()), "[HashiBus] 2024-05-01 13:02:03.417 許可 \xF0\x9F\x98\x80\n");
    EXPECT_EQ(systemLog.texts().size(), 6u);
    EXPECT_EQ(systemLog.texts().front(), "[HashiBus] \xFF");
}

TEST_F(AppLoggerTest, keepsNulBytesAndFormatDirectivesAsTheyAre) {
    auto logger = makeLogger();
    const std::string message("a\0{}%s%n", 8);
    write(logger, "LocalAPI", message);
    EXPECT_EQ(contentsOf(file()), "[LocalAPI] 2024-05-01 13:02:03.417 " + message + "\n");
    EXPECT_EQ(systemLog.texts(), std::vector<std::string>{"[LocalAPI] " + message});
}

TEST_F(AppLoggerTest, writesLongMessagesWhole) {
    auto logger = makeLogger();
    const std::string message(3 << 20, 'x');
    logger.log("App", message);
    write(logger, "App", "after it");
    EXPECT_EQ(contentsOf(file()), "[App] 2024-05-01 13:02:03.417 " + message + "\n" +
                                      "[App] 2024-05-01 13:02:03.417 after it\n");
}

TEST_F(AppLoggerTest, hasEveryLineInTheFileAfterAFlush) {
    auto logger = makeLogger();
    logger.flush(seconds(1));
    EXPECT_FALSE(fs::exists(file()));
    for (int i = 0; i < 100; ++i)
        logger.log("App", std::to_string(i));
    logger.flush(seconds(1));
    std::istringstream lines(contentsOf(file()));
    std::string line;
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(std::getline(lines, line));
        EXPECT_EQ(line, "[App] 2024-05-01 13:02:03.417 " + std::to_string(i));
    }
    EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(AppLoggerTest, beginsANewLineAfterOneThatAFullDiskHasCut) {
    auto logger = makeLogger();
    write(logger, "App", "whole");
    {
        const FileSizeLimit fullDisk(fs::file_size(file()) + 10);
        write(logger, "App", "cut");
        write(logger, "App", "lost");
    }
    write(logger, "App", "whole again");
    write(logger, "App", "and again");
    EXPECT_EQ(contentsOf(file()), "[App] 2024-05-01 13:02:03.417 whole\n"
                                  "[App] 2024\n"
                                  "[App] 2024-05-01 13:02:03.417 whole again\n"
                                  "[App] 2024-05-01 13:02:03.417 and again\n");
}

TEST_F(AppLoggerTest, writesPendingLinesBeforeItIsDestroyed) {
    {
        auto logger = makeLogger();
        logger.log("App", "last words");
    }
    dispatch.runUntilIdle();
    EXPECT_EQ(contentsOf(file()), "[App] 2024-05-01 13:02:03.417 last words\n");
}

TEST_F(AppLoggerTest, keepsTheOrderOfBackgroundWork) {
    auto logger = makeLogger();
    dispatch.global(QualityOfService::userInitiated).async([&] {
        logger.log("LocalAPI", "from the background");
        dispatch.sleep(seconds(1));
        logger.log("LocalAPI", "and again");
    });
    dispatch.main().asyncAfter(seconds(0.5), [&] { logger.log("UI", "in between"); });
    dispatch.advance(seconds(1));
    EXPECT_EQ(contentsOf(file()), "[LocalAPI] 2024-05-01 13:02:03.417 from the background\n"
                                  "[UI] 2024-05-01 13:02:03.917 in between\n"
                                  "[LocalAPI] 2024-05-01 13:02:04.417 and again\n");
}

TEST_F(AppLoggerTest, neverMixesTheLinesOfConcurrentWriters) {
    // Two loggers, each with a thread, act as two processes that write to the same file.
    constexpr int linesEach = 300;
    const auto write = [this](const std::string& word) {
        VirtualDispatch ownDispatch;
        AppLogger logger({ownDispatch, fileManager, systemLog});
        for (int i = 0; i < linesEach; ++i) {
            logger.log("App", word);
            ownDispatch.runUntilIdle();
        }
    };
    const std::string a(9000, 'a'), b(5000, 'b');
    std::thread first(write, a), second(write, b);
    first.join();
    second.join();
    std::istringstream lines(contentsOf(file()));
    int ofFirst = 0, ofSecond = 0;
    for (std::string line; std::getline(lines, line);) {
        ofFirst += line == "[App] 2024-05-01 13:02:03.417 " + a ? 1 : 0;
        ofSecond += line == "[App] 2024-05-01 13:02:03.417 " + b ? 1 : 0;
    }
    EXPECT_EQ(ofFirst, linesEach);
    EXPECT_EQ(ofSecond, linesEach);
    EXPECT_EQ(fs::file_size(file()), linesEach * (a.size() + b.size() + 2 * 31));
}

} // namespace quoxelin::testing
