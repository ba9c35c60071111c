#include "Runner/Shared/HelperConnection.h"

#include "Platform/Foundation.h"
#include "Runner/Shared/HelperToolProtocol.h"

namespace quoxelin {

namespace {

template <typename... Arguments>
void tell(const std::function<void(Arguments...)>& listener, const Arguments&... arguments) {
    if (listener)
        listener(arguments...);
}

} // namespace

void withHelper(XPC& xpc, const HelperConnectionEvents& events,
                const std::function<void()>& onFailure, const HelperBody& body) {
    tell(events.willConnect);
    const auto connection = xpc.privilegedConnection(helperMachServiceName);
    connection->setInterruptionHandler([told = events.interrupted] { tell(told); });
    connection->setInvalidationHandler([told = events.invalidated] { tell(told); });
    connection->resume();
    tell(events.resumed);
    connection->remoteObjectProxyWithErrorHandler(
        [told = events.failed](const Error& error) {
            if (told)
                told(error);
        },
        [connection, noProxy = events.noProxy, onFailure, body](const auto& helper) {
            if (helper != nullptr) {
                body(*helper, connection);
                return;
            }
            tell(noProxy);
            connection->invalidate();
            tell(onFailure);
        });
}

std::string bundledExecutable(const NSBundle& bundle, const std::string& name) {
    return bundle.pathForResource(name).value_or("");
}

std::vector<std::string> quoxelindUpArguments(const NSBundle& bundle) {
    std::vector<std::string> arguments = {"up"};
    appendInfoPlistArg(arguments, bundle, "QXConductorURL", "--conductor-host");
    appendInfoPlistArg(arguments, bundle, "QXSignalURL", "--signal-host");
    return arguments;
}

void appendInfoPlistArg(std::vector<std::string>& arguments, const NSBundle& bundle,
                        const std::string& key, const std::string& flag) {
    const auto value = bundle.stringForInfoDictionaryKey(key);
    if (!value || value->empty())
        return;
    arguments.push_back(flag);
    arguments.push_back(*value);
}

} // namespace quoxelin
