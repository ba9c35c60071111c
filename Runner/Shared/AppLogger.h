#pragma once

#include "Base/Dispatch.h"

#include <memory>
#include <string>

namespace quoxelin {

class NSFileManager;
class SystemLog;

/// The application's one logging facility: every line goes to the application's log file, which a
/// user can export for support, and to the system's log. Any thread. Nothing that goes wrong with
/// the file ever reaches a caller.
class AppLogger {
  public:
    struct Dependencies {
        Dispatch& dispatch;
        NSFileManager& fileManager;
        SystemLog& systemLog;
    };

    explicit AppLogger(const Dependencies& dependencies);

    static AppLogger& shared();

    /// `category` is the short tag of the component that writes: "App", "CLI", "XPC", "VPN",
    /// "SysExt", "UI", "State", "HashiBus", "LocalAPI". The file is written later, in the order of
    /// the calls; the system's log at once.
    void log(const std::string& category, const std::string& message);

    /// Returns when every line logged so far is in the file. For the end of the process; not from
    /// the logger's own queue.
    void flush();

    const std::string& path() const { return logPath; }

  private:
    std::string resolveLogPath() const;
    std::string timestamp() const;
    static void append(const std::string& line, const std::string& path);

    Dependencies dependencies;
    std::unique_ptr<SerialQueue> queue;
    std::string logPath;
};

} // namespace quoxelin
