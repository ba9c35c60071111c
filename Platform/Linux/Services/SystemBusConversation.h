#pragma once

#include "Base/Result.h"

#include <functional>
#include <gio/gio.h>
#include <memory>
#include <string>

namespace quoxelin {

/// A connection of its own to the system bus, from its opening to its end. All of it, callbacks
/// included, happens on one `BusThread`. Nothing is called back after the object has gone.
class SystemBusConversation : public std::enable_shared_from_this<SystemBusConversation> {
  public:
    struct Unref {
        void operator()(GVariant* value) const { g_variant_unref(value); }
        void operator()(GDBusConnection* connection) const { g_object_unref(connection); }
        void operator()(GError* error) const { g_error_free(error); }
    };
    template <typename T>
    using Owned = std::unique_ptr<T, Unref>;

    /// A failure is a text for people.
    using Reply = std::function<void(Result<Owned<GVariant>, std::string>)>;
    using Opened = std::function<void(Result<std::shared_ptr<SystemBusConversation>, std::string>)>;

    struct Method {
        const char* service;
        const char* path;
        const char* interface;
        const char* name;
        const char* replyType;
    };

    /// Connects to where the environment says that the system's bus is. `opened` is called once,
    /// perhaps at once.
    static void open(Opened opened);

    explicit SystemBusConversation(Owned<GDBusConnection> connection);
    ~SystemBusConversation();
    SystemBusConversation(const SystemBusConversation&) = delete;
    SystemBusConversation& operator=(const SystemBusConversation&) = delete;

    /// `replied` is called once, however long that takes. Consumes floating parameters.
    void call(const Method& method, GVariant* parameters, Reply replied);

    /// Whether the service runs, or the bus would start it.
    void findService(const std::string& service, std::function<void(bool isThere)> found);

    /// `ended` is called whenever the service's name has lost its owner.
    void followService(const std::string& service, std::function<void()> ended);

    /// `lost` is called when the bus has gone.
    void followBus(std::function<void()> lost);

    /// Our own name on the bus.
    std::string name() const;

  private:
    const Owned<GDBusConnection> connection;
    std::function<void()> serviceEnded;
    std::function<void()> busLost;
    guint subscription = 0;
    gulong closedHandler = 0;
};

} // namespace quoxelin
