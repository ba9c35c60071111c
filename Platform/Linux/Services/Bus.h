#pragma once

#include "Base/ObserverList.h"
#include "Base/Result.h"

#include <QSocketNotifier>
#include <QTimer>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <systemd/sd-bus.h>
#include <vector>

namespace quoxelin {

/// Why a call failed: D-Bus's name for the error, and a text for people.
struct BusError {
    std::string name;
    std::string text;
};

/// A method of an object on a bus. The texts are read during the call only.
struct BusMethod {
    const char* service;
    const char* path;
    const char* interface;
    const char* name;
};

/// A method of the bus itself.
BusMethod busMethod(const char* name);

/// A connection to a message bus, made anew whenever the bus comes back. A bus that hangs counts as
/// absent until it has let this program in. Nothing waits for the bus, except in `serveUntil`. Main
/// thread only.
///
/// What a call returns a `Subscription` for ends with it: a question is canceled, a match or an
/// object is withdrawn. It also ends with the connection. A handler may destroy its own
/// subscription.
class Bus {
  public:
    /// Appends a call's arguments; returns what `sd_bus_message_append` returned.
    using Writer = std::function<int(sd_bus_message* message)>;
    using Answered = std::function<void(Result<sd_bus_message*, BusError> reply)>;

    /// Where the environment says that the session's and the system's bus are.
    static std::string sessionAddress();
    static std::string systemAddress();

    /// Begins to connect. The address is in D-Bus's notation.
    explicit Bus(std::string address);
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    /// From now on the event loop serves the connection. Needs the application object.
    void serve();

    /// Serves this connection, and nothing else, until `isDone` returns true; gives up after
    /// `longest`, or at once without a bus. For the time before and after the event loop.
    void serveUntil(const std::function<bool()>& isDone, std::chrono::milliseconds longest);

    /// Gives a bus that runs a moment to let this program in, 50 ms at most.
    void awaitConnection();

    bool isConnected() const { return connected; }

    /// This program's name on the bus; empty while it is absent.
    std::string uniqueName() const;

    /// Calls the observer whenever the bus has come or gone.
    Subscription observe(std::function<void()> observer) {
        return observers.add(std::move(observer));
    }

    static constexpr std::chrono::microseconds usualDeadline = std::chrono::seconds(25);
    static constexpr auto noDeadline = std::chrono::microseconds::max();

    /// `answered` is called once, from the event loop, with the reply or an error. While the bus is
    /// absent that is an error on the loop's next turn. Both functions may be empty.
    Subscription call(const BusMethod& method, const Writer& write, Answered answered,
                      std::chrono::microseconds deadline = usualDeadline);

    /// Calls the handler for every message that matches D-Bus's rule.
    Subscription match(const std::string& rule, std::function<void(sd_bus_message*)> handler);

    /// Serves an object's interface. `owner` is what the table's functions are called with.
    Subscription serveObject(const char* path, const char* interface, const sd_bus_vtable* table,
                             void* owner);

    void emitSignal(const char* path, const char* interface, const char* name, const Writer& write);

  private:
    struct Close {
        void operator()(sd_bus* connection) const { sd_bus_close_unref(connection); }
    };
    struct DeleteLater {
        void operator()(QSocketNotifier* notifier) const;
    };
    struct Handler;
    using Notifier = std::unique_ptr<QSocketNotifier, DeleteLater>;

    void open();
    int start(bool awaitsSocket);
    int send(const BusMethod& method, const Writer& write, Handler& handler,
             std::chrono::microseconds deadline);
    void process();
    void lost();
    void follow();
    Notifier makeNotifier(int descriptor, QSocketNotifier::Type type);

    const std::string address;
    std::unique_ptr<sd_bus, Close> connection;
    bool connected = false;
    /// The bus does not run; the connection waits for its socket.
    bool isAbsent = false;
    bool isServed = false;
    bool isProcessing = false;
    Notifier readable;
    Notifier writable;
    std::unique_ptr<QTimer> timer;
    ObserverList<> observers;
};

/// The next argument of a message, a list of texts.
std::vector<std::string> readTexts(sd_bus_message* message);

/// A text as D-Bus takes it: UTF-8 up to the first NUL.
QByteArray busText(const std::string& text);

} // namespace quoxelin
