#pragma once

#include "Platform/AppleScript.h"

namespace quoxelin {

/// Runs one form of script, shell commands with administrator privileges, as root after polkit has
/// asked for a password. Any thread; a script blocks its thread.
class PkexecScripts final : public AppleScript {
  public:
    /// `pkexec` is a path, or a name to look up in PATH.
    explicit PkexecScripts(std::string pkexec = "pkexec") : pkexec(std::move(pkexec)) {}

    /// Accepts `do shell script "COMMANDS" with administrator privileges` if the commands hold no
    /// double quote, backslash or NUL; returns null for anything else.
    std::unique_ptr<NSAppleScript> initWithSource(const std::string& source) override;

  private:
    std::string pkexec;
};

} // namespace quoxelin
