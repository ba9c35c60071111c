#include "Runner/Shared/QuoxelinCLI.h"

#include "Base/Immortal.h"
#include "Platform/Foundation.h"
#include "Platform/Platform.h"
#include "Runner/Shared/AppLogger.h"
#include "Runner/Shared/HelperToolProtocol.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace quoxelin {

QuoxelinCLI::QuoxelinCLI(const Dependencies& dependencies)
    : logger(dependencies.logger), xpc(dependencies.xpc), mainBundle(dependencies.mainBundle),
      quoxelinPath(bundledExecutable(mainBundle, "quoxelin")),
      quoxelindPath(bundledExecutable(mainBundle, "quoxelind")) {}

QuoxelinCLI& QuoxelinCLI::shared() {
    static auto& instance = immortal([&platform = Platform::current()] {
        return QuoxelinCLI({AppLogger::shared(), platform.xpc, platform.mainBundle});
    });
    return instance;
}

void QuoxelinCLI::ping(const std::function<void(bool)>& completion) {
    withHelper([completion] { completion(false); },
               [path = quoxelindPath, completion](auto& helper, const auto& connection) {
                   helper.runGoToolWithPath(path, {"--help"},
                                            [completion, connection](const std::string&) {
                                                completion(true);
                                                connection->invalidate();
                                            });
               });
}

void QuoxelinCLI::up() {
    if (quoxelindPath.empty()) {
        logger.log("CLI", "ERROR: quoxelind binary not found in Bundle");
        return;
    }
    const auto arguments = quoxelindUpArguments(mainBundle);
    logger.log("CLI", fmt::format("Invoking quoxelind up via Helper at path: {}, args: {}",
                                  quoxelindPath, fmt::join(arguments, " ")));
    runAndLog(quoxelindPath, arguments, "quoxelind up output: ");
}

void QuoxelinCLI::down() {
    runAndLog(quoxelinPath, {"down"}, "quoxelin down output: ");
}

void QuoxelinCLI::runAndLog(const std::string& path, const std::vector<std::string>& arguments,
                            const std::string& label) {
    // The body may run after this client has gone: it holds the logger only.
    withHelper(nullptr,
               [&logger = logger, path, arguments, label](auto& helper, const auto& connection) {
                   helper.runGoToolWithPath(
                       path, arguments, [&logger, label, connection](const std::string& output) {
                           logger.log("CLI", label + output);
                           connection->invalidate();
                       });
               });
}

void QuoxelinCLI::withHelper(const std::function<void()>& onFailure, const HelperBody& body) {
    // The connection may outlive this client, so it refers to the logger only.
    const auto logged = [&logger = logger](const std::string& message) {
        return [&logger, message] { logger.log("XPC", message); };
    };
    const std::string service = helperMachServiceName;
    HelperConnectionEvents events;
    events.interrupted = logged("Connection interrupted: " + service);
    events.invalidated = logged("Connection invalidated: " + service);
    events.noProxy = logged("Failed to obtain HelperToolProtocol proxy for: " + service);
    events.failed = [&logger = logger](const Error& error) {
        logger.log("XPC", "Error: " + error.localizedDescription);
    };
    quoxelin::withHelper(xpc, events, onFailure, body);
}

} // namespace quoxelin
