#pragma once

#include "Platform/ServiceManagement.h"

#include <filesystem>

namespace quoxelin {

/// The application as a desktop entry in the user's autostart directory, copied from the bundle. An
/// entry that was disabled in the desktop's settings (Hidden, or X-GNOME-Autostart-enabled=false)
/// requires approval and is left alone. A missing entry is not registered. Every call answers at
/// once.
class XdgAutostart final : public SMAppService {
  public:
    /// The directory that the desktop reads.
    static std::filesystem::path userDirectory();

    explicit XdgAutostart(const std::filesystem::path& bundle,
                          const std::filesystem::path& directory = userDirectory());

    void registerService(Completion<void, Error> completion) override;
    Result<void, Error> unregisterService() override;
    void status(std::function<void(int)> completion) override;

  private:
    SMAppServiceStatus current() const;
    Result<void, Error> write() const;

    const std::filesystem::path original;
    const std::filesystem::path entry;
};

} // namespace quoxelin
