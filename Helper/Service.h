#pragma once

#include "Helper/Children.h"
#include "Helper/GObject.h"
#include "Helper/RefusalLog.h"
#include "Helper/Requests.h"
#include "Helper/Slots.h"

namespace quoxelin::helper {

/// The helper on the system bus. It serves until nobody has asked for anything for a minute, or the
/// bus goes away; what still runs then is followed to its end, without the name: the bus starts
/// another helper for the next caller. Main thread, default main loop.
class Service {
  public:
    Service(Owned<GDBusConnection> bus, std::string bundleRoot,
            std::function<void(const std::string&)> log);
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// Returns when it has served. A failure to begin is a text for standard error.
    tl::expected<void, std::string> serve();

  private:
    static void called(GDBusConnection* bus, const char* sender, const char* path,
                       const char* interface, const char* method, GVariant* parameters,
                       GDBusMethodInvocation* invocation, gpointer self);
    void runGoTool(const std::string& sender, GVariant* parameters,
                   GDBusMethodInvocation* invocation);
    void refuse(const std::string& sender, Refusal::Reason reason, const char* text,
                GDBusMethodInvocation* invocation);

    Requests::Dependencies dependencies(std::string bundleRoot);
    tl::expected<void, std::string> offer();
    bool ownName();
    bool isBusy() const { return requests.isBusy() || arrivals.inUse() > 0; }
    void waitForCalls();
    void leaveIfIdle();
    void leave();
    void endIfDone();

    Owned<GDBusConnection> bus;
    Owned<GMainLoop> loop;
    Owned<GDBusNodeInfo> description;
    RefusalLog log;
    Children children;
    Requests requests;
    /// Calls of which only the caller's connection is known yet.
    Slots<std::string> arrivals{8, 64};
    guint idleTimer = 0;
    bool isLeaving = false;
};

} // namespace quoxelin::helper
