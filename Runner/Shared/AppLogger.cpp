#include "Runner/Shared/AppLogger.h"

#include "Base/FileAppend.h"
#include "Base/Immortal.h"
#include "Base/LocalTime.h"
#include "Base/Utf8.h"
#include "Platform/Foundation.h"
#include "Platform/Platform.h"
#include "Platform/SystemLog.h"

#include <filesystem>
#include <fmt/compile.h>
#include <iterator>
#include <new>
#include <system_error>

namespace quoxelin {

AppLogger::AppLogger(const Dependencies& dependencies)
    : dependencies(dependencies),
      queue(dependencies.dispatch.makeSerial("com.quoxelin.desktop.applogger")),
      file(new File{resolveLogPath()}) {}

AppLogger& AppLogger::shared() {
    static auto& instance = immortal([&platform = Platform::current()] {
        return AppLogger({platform.dispatch, platform.fileManager, platform.systemLog});
    });
    return instance;
}

void AppLogger::log(const std::string& category, const std::string& message) {
    auto line = lineOf(category, message);
    queue->async([line = std::move(line), file = file] { append(line, *file); });
    dependencies.systemLog.log(fmt::format(FMT_COMPILE("[{}] {}"), category, message));
}

void AppLogger::flush(Duration longest) {
    queue->wait(longest);
}

std::string AppLogger::resolveLogPath() const {
    const auto directories = dependencies.fileManager.applicationSupportDirectories();
    if (directories.empty())
        return dependencies.fileManager.temporaryDirectory() / "quoxelin-app.log";
    const auto directory = directories.front() / "Quoxelin";
    // Use the path even on failure: the directory may appear later.
    std::error_code ignored;
    std::filesystem::create_directories(directory, ignored);
    return directory / "app.log";
}

std::tm AppLogger::localTimeAt(std::time_t second) {
    const std::lock_guard lock(mutex);
    if (second != lastSecond)
        lastLocalTime = localTime(second);
    lastSecond = second;
    return lastLocalTime;
}

std::string AppLogger::lineOf(const std::string& category, const std::string& message) {
    using namespace std::chrono;
    const auto now = floor<milliseconds>(dependencies.dispatch.date().time_since_epoch());
    const auto wholeSeconds = floor<std::chrono::seconds>(now);
    const auto local = localTimeAt(static_cast<std::time_t>(wholeSeconds.count()));
    fmt::memory_buffer line;
    fmt::format_to(std::back_inserter(line),
                   FMT_COMPILE("[{}] {:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:03} {}\n"), category,
                   local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                   local.tm_min, local.tm_sec, (now - wholeSeconds).count(), message);
    return fmt::to_string(line);
}

void AppLogger::append(const std::string& line, File& file) try {
    if (!isValidUtf8(line))
        return;
    // One write, so that other processes' lines cannot split it.
    const auto text = file.wasCut ? '\n' + line : std::string();
    const auto& whole = file.wasCut ? text : line;
    if (const auto written = appendToFile(file.path, whole); written > 0)
        file.wasCut = written < whole.size();
} catch (const std::bad_alloc&) {
    // Without this line.
}

} // namespace quoxelin
