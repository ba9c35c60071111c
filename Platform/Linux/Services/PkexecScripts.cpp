#include "Platform/Linux/Services/PkexecScripts.h"

#include "Platform/Linux/Services/Pkexec.h"

#include <QProcess>
#include <fmt/format.h>
#include <string_view>

namespace quoxelin {

namespace {

constexpr std::string_view opening = "do shell script \"";
constexpr std::string_view closing = "\" with administrator privileges";

std::string reason(int exitCode) {
    if (exitCode == pkexecDismissed)
        return "The authorization was dismissed.";
    if (exitCode == pkexecNotAuthorized)
        return "The authorization was not obtained.";
    return fmt::format("The script ended with exit code {}.", exitCode);
}

class Script final : public NSAppleScript {
  public:
    Script(std::string pkexec, std::string commands)
        : pkexec(std::move(pkexec)), commands(std::move(commands)) {}

    /// Passes the commands on standard input. On the command line, which every process can see, a
    /// command that kills processes by command line would kill its own shell.
    std::optional<std::string> executeAndReturnError() override {
        QProcess process;
        process.setStandardOutputFile(QProcess::nullDevice());
        process.start(QString::fromStdString(pkexec), {"/bin/sh", "-s"});
        if (!process.waitForStarted(-1))
            return fmt::format("{} cannot be started: {}", pkexec,
                               process.errorString().toStdString());
        process.write(commands.data(), static_cast<qint64>(commands.size()));
        process.write("\n");
        process.closeWriteChannel();
        // Wait as long as the user takes.
        process.waitForFinished(-1);
        return outcome(process);
    }

  private:
    static std::optional<std::string> outcome(QProcess& process) {
        std::string problem;
        if (process.exitStatus() != QProcess::NormalExit)
            problem = "The script was ended by a signal.";
        else if (process.exitCode() != 0)
            problem = reason(process.exitCode());
        else
            return std::nullopt;
        const auto said = process.readAllStandardError().trimmed().toStdString();
        return said.empty() ? problem : problem + " " + said;
    }

    std::string pkexec;
    std::string commands;
};

} // namespace

std::unique_ptr<NSAppleScript> PkexecScripts::initWithSource(const std::string& source) {
    const std::string_view text = source;
    if (text.size() < opening.size() + closing.size() || !text.starts_with(opening) ||
        !text.ends_with(closing))
        return nullptr;
    const auto commands =
        text.substr(opening.size(), text.size() - opening.size() - closing.size());
    using namespace std::string_view_literals;
    if (commands.find_first_of("\"\\\0"sv) != std::string_view::npos)
        return nullptr;
    return std::make_unique<Script>(pkexec, std::string(commands));
}

} // namespace quoxelin
