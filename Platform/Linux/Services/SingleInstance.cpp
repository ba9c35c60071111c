#include "Platform/Linux/Services/SingleInstance.h"

#include <cstdlib>
#include <utility>

namespace quoxelin {

namespace {

constexpr const char* applicationName = "com.quoxelin.desktop";
constexpr const char* applicationPath = "/com/quoxelin/desktop";
constexpr const char* applicationInterface = "org.freedesktop.Application";

/// How long the bus itself may take to answer.
constexpr std::chrono::milliseconds namePatience{1000};

/// Appends what the desktop gave this process at its start; the first instance needs it to come to
/// the front.
int appendPlatformData(sd_bus_message* message) {
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
    for (const auto& [variable, key] : {std::pair("DESKTOP_STARTUP_ID", "desktop-startup-id"),
                                        std::pair("XDG_ACTIVATION_TOKEN", "activation-token")})
        if (const char* value = std::getenv(variable); value != nullptr && *value != '\0')
            sd_bus_message_append(message, "{sv}", key, "s", value);
    return sd_bus_message_close_container(message);
}

bool isUnowned(const BusError& error) {
    return error.name == SD_BUS_ERROR_SERVICE_UNKNOWN ||
           error.name == SD_BUS_ERROR_NAME_HAS_NO_OWNER;
}

} // namespace

const sd_bus_vtable SingleInstance::table[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD(
        "Activate", "a{sv}", "",
        [](sd_bus_message* message, void* self, sd_bus_error*) {
            static_cast<SingleInstance*>(self)->requests.activate();
            return sd_bus_reply_method_return(message, nullptr);
        },
        SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD(
        "Open", "asa{sv}", "",
        [](sd_bus_message* message, void* self, sd_bus_error*) {
            static_cast<SingleInstance*>(self)->requests.open(readTexts(message));
            return sd_bus_reply_method_return(message, nullptr);
        },
        SD_BUS_VTABLE_UNPRIVILEGED),
    // The desktop entry offers no actions.
    SD_BUS_METHOD(
        "ActivateAction", "sava{sv}", "",
        [](sd_bus_message* message, void* self, sd_bus_error*) {
            static_cast<SingleInstance*>(self)->requests.activate();
            return sd_bus_reply_method_return(message, nullptr);
        },
        SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

SingleInstance::SingleInstance(Bus& bus, Requests requests)
    : bus(bus), requests(std::move(requests)) {}

/// Requests the name without queueing for it. The object is served first because it must exist as
/// soon as others see the name.
void SingleInstance::own() {
    isOwner.reset();
    object = bus.serveObject(applicationPath, applicationInterface, table, this);
    ownership = bus.call(
        busMethod("RequestName"),
        [](auto* message) {
            return sd_bus_message_append(message, "su", applicationName, std::uint32_t{4});
        },
        [this](const auto& reply) {
            constexpr std::uint32_t exists = 3;
            std::uint32_t outcome = 0;
            if (reply)
                sd_bus_message_read(*reply, "u", &outcome);
            isOwner = outcome != exists;
            if (!*isOwner)
                object.cancel();
        });
}

Result<SingleInstance::Role, std::string>
SingleInstance::claim(const std::optional<std::string>& url, std::chrono::milliseconds patience) {
    busObservation = bus.observe([this] {
        if (bus.isConnected())
            own();
    });
    // The second attempt is for the case that the first instance has just exited.
    for (int attempt = 0; attempt < 2 && bus.isConnected(); ++attempt) {
        own();
        bus.serveUntil([this] { return isOwner.has_value(); }, namePatience);
        if (isOwner.value_or(true))
            return Role::first;
        const auto problem = handOver(url, patience);
        if (!problem)
            return Role::follower;
        if (!isUnowned(*problem))
            return tl::unexpected("the running application does not answer: " + problem->text);
    }
    return Role::first;
}

std::optional<BusError> SingleInstance::handOver(const std::optional<std::string>& url,
                                                 std::chrono::milliseconds patience) {
    std::optional<BusError> problem = BusError{SD_BUS_ERROR_NO_REPLY, "it took too long to reply"};
    bool isAnswered = false;
    const auto request = bus.call(
        {applicationName, applicationPath, applicationInterface, url ? "Open" : "Activate"},
        [&url](auto* message) {
            sd_bus_message_set_auto_start(message, 0);
            if (url)
                sd_bus_message_append(message, "as", 1, url->c_str());
            return appendPlatformData(message);
        },
        [&](const auto& reply) {
            isAnswered = true;
            problem = reply ? std::nullopt : std::optional(reply.error());
        });
    bus.serveUntil([&] { return isAnswered; }, patience);
    return problem;
}

} // namespace quoxelin
