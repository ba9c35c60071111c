#include "Platform/Linux/Services/DBusHelperService.h"

#include "Platform/Linux/Services/DBusHelper.h"
#include "Platform/Linux/Services/ServiceManagementError.h"

#include <utility>

namespace quoxelin {

namespace {

constexpr BusMethod checkAuthorization{
    "org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
    "org.freedesktop.PolicyKit1.Authority", "CheckAuthorization"};

int raw(SMAppServiceStatus status) {
    return static_cast<int>(status);
}

} // namespace

void DBusHelperService::registerService(Completion<void, Error> completion) {
    presence.whenKnown(lifetime.weakly([this, completion = std::move(completion)](bool isPresent) {
        if (isPresent && isKnown)
            completion({});
        else if (bus.isConnected())
            completion(serviceFailure(ServiceErrorCode::jobNotFound,
                                      std::string("The system bus knows no service ") +
                                          DBusHelper::service + "."));
        else
            completion(serviceFailure(ServiceErrorCode::internalFailure,
                                      "The system bus does not answer."));
    }));
}

Result<void, Error> DBusHelperService::unregisterService() {
    return serviceFailure(ServiceErrorCode::notPermitted, std::string("The service ") +
                                                              DBusHelper::service +
                                                              " goes with its installation.");
}

void DBusHelperService::status(std::function<void(int)> completion) {
    presence.whenKnown(lifetime.weakly([this, completion = std::move(completion)](bool isPresent) {
        if (isPresent && isKnown)
            askPolkit(completion);
        else
            completion(raw(SMAppServiceStatus::notFound));
    }));
}

void DBusHelperService::askPolkit(std::function<void(int)> completion) {
    const auto write = [this](auto* message) {
        constexpr int entries = 1, details = 0;
        constexpr std::uint32_t withoutInteraction = 0;
        return sd_bus_message_append(message, "(sa{sv})sa{ss}us", "system-bus-name", entries,
                                     "name", "s", bus.uniqueName().c_str(),
                                     "com.quoxelin.desktop.helper.run", details, withoutInteraction,
                                     "");
    };
    question = bus.call(
        checkAuthorization, write, [completion = std::move(completion)](const auto& reply) {
            int isAllowed = 0;
            if (reply && sd_bus_message_enter_container(*reply, SD_BUS_TYPE_STRUCT, "bba{ss}") > 0)
                sd_bus_message_read(*reply, "b", &isAllowed);
            completion(raw(isAllowed != 0 ? SMAppServiceStatus::enabled
                                          : SMAppServiceStatus::requiresApproval));
        });
}

} // namespace quoxelin
