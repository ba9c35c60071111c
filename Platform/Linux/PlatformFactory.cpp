#include "Platform/PlatformFactory.h"

#include "Platform/Linux/LinuxHost.h"
#include "Simulation/Desktop/Linux/SimulatedHost.h"

#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace quoxelin {

namespace {

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

/// The toolkit would end the process where a display is named that does not answer.
bool canShowWindows() {
    if (isSet("WAYLAND_DISPLAY"))
        return true;
    if (!isSet("DISPLAY"))
        return false;
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, nullptr), &xcb_disconnect);
    return xcb_connection_has_error(connection.get()) == 0;
}

} // namespace

Result<std::unique_ptr<PlatformHost>, LaunchRefusal> makePlatform(const LaunchOptions& options) {
    if (!isSet("QT_QPA_PLATFORM") && !canShowWindows())
        ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    // Without GLib's event loop NetworkManager's library would never answer.
    ::unsetenv("QT_NO_GLIB");
    if (options.simulate)
        return std::make_unique<SimulatedHost>(options);
    auto host = std::make_unique<LinuxHost>(options);
    if (auto refusal = host->refusal(options))
        return tl::unexpected(std::move(*refusal));
    return host;
}

} // namespace quoxelin
