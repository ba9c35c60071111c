#pragma once

#include "Platform/Foundation.h"

#include <QSettings>

namespace quoxelin {

/// An INI file in the XDG configuration directory. Every change is written at once.
class IniUserDefaults final : public NSUserDefaults {
  public:
    explicit IniUserDefaults(const std::filesystem::path& file);

    /// $XDG_CONFIG_HOME (default ~/.config)/Quoxelin/defaults.ini.
    static std::filesystem::path standardFile();

    std::optional<std::string> string(const std::string& key) const override;
    void set(const std::string& key, const std::string& value) override;
    void removeObject(const std::string& key) override;

  private:
    QSettings settings;
};

} // namespace quoxelin
