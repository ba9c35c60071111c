#pragma once

#include "Tests/Support/TemporaryDirectory.h"

namespace quoxelin::testing {

/// Replaces a program that must not run in a test. It records its arguments and standard input, and
/// exits as requested.
class Recorder {
  public:
    explicit Recorder(const std::string& ending = "exit 0") {
        std::ofstream(path()) << "#!/bin/sh\nprintf '%s\\n' \"$@\" >>" << file("arguments")
                              << "\ncat >>" << file("input") << "\necho called >>" << file("calls")
                              << "\n"
                              << ending << "\n";
        std::filesystem::permissions(path(), std::filesystem::perms::owner_all);
    }

    std::string path() const { return file("program"); }

    std::string arguments() const { return contentsOf(file("arguments")); }
    std::string input() const { return contentsOf(file("input")); }
    std::size_t calls() const { return contentsOf(file("calls")).size() / 7; }

    /// Forgets the recorded calls.
    void clear() const {
        for (const char* name : {"arguments", "calls", "input"})
            std::filesystem::remove(file(name));
    }

  private:
    std::string file(const std::string& name) const { return (directory.path() / name).string(); }

    TemporaryDirectory directory;
};

} // namespace quoxelin::testing
