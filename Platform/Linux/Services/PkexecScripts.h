#pragma once

#include "Platform/AppleScript.h"

namespace quoxelin {

/// Takes one form of script, shell commands with administrator privileges, and runs the commands as
/// root after polkit has asked for a password. Any thread; a script blocks the one it runs on.
class PkexecScripts final : public AppleScript {
  public:
    /// `pkexec` is a path, or a name that is looked up in PATH.
    explicit PkexecScripts(std::string pkexec = "pkexec") : pkexec(std::move(pkexec)) {}

    /// Takes `do shell script "COMMANDS" with administrator privileges`, the commands without a
    /// double quote, a backslash or a NUL; null for anything else.
    std::unique_ptr<NSAppleScript> initWithSource(const std::string& source) override;

  private:
    std::string pkexec;
};

} // namespace quoxelin
