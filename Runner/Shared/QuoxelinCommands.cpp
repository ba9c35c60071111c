#include "Runner/Shared/QuoxelinCommands.h"

#include "Base/Immortal.h"
#include "Platform/Foundation.h"
#include "Platform/Platform.h"
#include "Platform/SystemLog.h"
#include "Runner/Shared/HelperToolProtocol.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace quoxelin {

QuoxelinCommands::QuoxelinCommands(const Dependencies& dependencies)
    : log{dependencies.systemLog, dependencies.mainBundle.bundleIdentifier().value_or("Quoxelin")},
      xpc(dependencies.xpc), mainBundle(dependencies.mainBundle),
      quoxelinPath(bundledExecutable(mainBundle, "quoxelin")),
      quoxelindPath(bundledExecutable(mainBundle, "quoxelind")) {}

QuoxelinCommands& QuoxelinCommands::shared() {
    static auto& instance = immortal([&platform = Platform::current()] {
        return QuoxelinCommands({platform.systemLog, platform.xpc, platform.mainBundle});
    });
    return instance;
}

bool QuoxelinCommands::execQuoxelindUp() {
    const auto isThere = std::make_shared<bool>(true);
    run(quoxelindPath, quoxelindUpArguments(mainBundle), nullptr, [isThere] { *isThere = false; });
    return *isThere;
}

void QuoxelinCommands::execQuoxelinUp(const Completion<bool, QuoxelinExecError>& completion) {
    log("execQuoxelinUp()");
    runForSuccess({"up"}, completion);
}

void QuoxelinCommands::execQuoxelinDown(const Completion<bool, QuoxelinExecError>& completion) {
    log("execQuoxelinDown()");
    runForSuccess({"down"}, completion);
}

void QuoxelinCommands::execQuoxelinLogin(
    const Completion<HashiStatus, QuoxelinExecError>& completion) {
    log("execQuoxelinLogin()");
    runForStatus({"login", "-json=true"}, completion);
}

void QuoxelinCommands::execQuoxelinStatus(
    const Completion<HashiStatus, QuoxelinExecError>& completion) {
    log("execQuoxelinStatus()");
    runForStatus({"status", "-json=true"}, completion);
}

void QuoxelinCommands::runForSuccess(const std::vector<std::string>& arguments,
                                     const Completion<bool, QuoxelinExecError>& completion) {
    run(
        quoxelinPath, arguments, [completion](const std::string&) { completion(true); },
        [completion] { completion(tl::unexpected(QuoxelinExecError::connectionFailed)); });
}

void QuoxelinCommands::runForStatus(const std::vector<std::string>& arguments,
                                    const Completion<HashiStatus, QuoxelinExecError>& completion) {
    run(
        quoxelinPath, arguments,
        [log = log, completion](const std::string& output) {
            if (auto status = stringJsonToHashiStatus(output)) {
                completion(*std::move(status));
                return;
            }
            log("Failed to decode HashiStatus from output");
            completion(tl::unexpected(QuoxelinExecError::decodingFailed));
        },
        [completion] { completion(tl::unexpected(QuoxelinExecError::connectionFailed)); });
}

void QuoxelinCommands::run(const std::string& path, const std::vector<std::string>& arguments,
                           const std::function<void(const std::string& output)>& onReply,
                           const std::function<void()>& onFailure) {
    const auto logged = [log = log](const std::string& message) {
        return [log, message] { log(message); };
    };
    const std::string service = helperMachServiceName;
    HelperConnectionEvents events;
    events.willConnect = logged("Creating XPC connection to: " + service);
    events.resumed = logged("XPC connection resumed: " + service);
    events.noProxy = logged("Failed to obtain HelperToolProtocol proxy for: " + service);
    events.interrupted = logged("XPC connection interrupted: " + service);
    events.invalidated = logged("XPC connection invalidated: " + service);
    events.failed = [log = log](const Error& error) {
        log(fmt::format("remoteObjectProxy error: Error Domain={} Code={} \"{}\"", error.domain,
                        error.code, error.localizedDescription));
    };
    withHelper(
        xpc, events, onFailure,
        [log = log, path, arguments, onReply](auto& helper, const auto& connection) {
            log(fmt::format("Invoking runGoTool path={} args={}", path, fmt::join(arguments, " ")));
            helper.runGoToolWithPath(
                path, arguments,
                [log, connection, onReply, command = arguments.front()](const std::string& output) {
                    log(fmt::format("runGoTool output ({}): {}", command, output));
                    connection->invalidate();
                    if (onReply)
                        onReply(output);
                });
        });
}

void QuoxelinCommands::Log::operator()(const std::string& message) const {
    systemLog.log(subsystem, "XPC", message);
}

} // namespace quoxelin
