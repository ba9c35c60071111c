#pragma once

#include "Base/Dispatch.h"

#include <ctime>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace quoxelin {

class NSFileManager;
class SystemLog;

/// Writes every line to the application's log file, which the user can export for support, and to
/// the system's log. Any thread. File errors never reach the caller.
class AppLogger {
  public:
    struct Dependencies {
        Dispatch& dispatch;
        NSFileManager& fileManager;
        SystemLog& systemLog;
    };

    explicit AppLogger(const Dependencies& dependencies);

    static AppLogger& shared();

    /// `category` is the short tag of the component: "App", "CLI", "XPC", "VPN", "SysExt", "UI",
    /// "State", "HashiBus", "LocalAPI". The system's log is written at once, the file later, in the
    /// order of the calls.
    void log(const std::string& category, const std::string& message);

    /// Waits until all lines logged so far are in the file, but no longer than that: a disk may
    /// hang. Do not call it on the logger's queue.
    void flush(Duration longest);

    const std::string& path() const { return file->path; }

  private:
    std::string resolveLogPath() const;
    std::string lineOf(const std::string& category, const std::string& message);
    std::tm localTimeAt(std::time_t second);

    struct File {
        const std::string path;
        /// Whether the last line may lack its end, as on a full disk. Used only on the queue.
        bool wasCut = false;
    };
    static void append(const std::string& line, File& file);

    Dependencies dependencies;
    std::unique_ptr<SerialQueue> queue;
    std::shared_ptr<File> file;
    /// Looking up the time zone is slow, so the lines of one second share it.
    std::mutex mutex;
    std::optional<std::time_t> lastSecond;
    std::tm lastLocalTime = {};
};

} // namespace quoxelin
