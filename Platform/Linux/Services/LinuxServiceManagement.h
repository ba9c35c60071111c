#pragma once

#include "Platform/Linux/Services/BusThread.h"
#include "Platform/ServiceManagement.h"

#include <filesystem>

namespace quoxelin {

/// The application itself is a desktop entry in the user's autostart directory, made from the one
/// in the bundle. An entry that a person has switched off in the desktop's settings (Hidden, or
/// X-GNOME-Autostart-enabled=false) requires approval and is left alone; one that is missing is not
/// registered, and was perhaps removed by a person.
///
/// The daemon is a service that the system bus starts on demand. It is registered by its
/// installation: registering only finds out whether that is so, and unregistering fails. It is not
/// found where bus or service are missing, and requires approval where polkit, asked about this
/// process without a question to anybody, does not allow its use.
///
/// Each answer about the daemon waits for the bus, and for polkit, a few milliseconds as a rule and
/// half a second at most; without an answer by then it is the same as without a bus.
class LinuxServiceManagement final : public ServiceManagement {
  public:
    /// The one that the desktop reads.
    static std::filesystem::path userAutostartDirectory();

    explicit LinuxServiceManagement(
        const std::filesystem::path& bundle,
        std::filesystem::path autostartDirectory = userAutostartDirectory());

    std::unique_ptr<SMAppService> mainApp() override;
    std::unique_ptr<SMAppService> daemon(const std::string& plistName) override;

  private:
    const std::filesystem::path bundledEntry;
    const std::filesystem::path autostartDirectory;
    /// The daemons ask on it: they must not outlive this object.
    BusThread thread;
};

} // namespace quoxelin
