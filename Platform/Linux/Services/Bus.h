#pragma once

#include "Base/ObserverList.h"
#include "Base/Result.h"

#include <QSocketNotifier>
#include <QTimer>
#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <systemd/sd-bus.h>
#include <vector>

namespace quoxelin {

/// Why a call failed: the name of the D-Bus error, and a readable text.
struct BusError {
    std::string name;
    std::string text;
};

/// A method of an object on a bus. The texts are only read during the call.
struct BusMethod {
    const char* service;
    const char* path;
    const char* interface;
    const char* name;
};

/// A method of the bus itself.
BusMethod busMethod(const char* name);

/// A connection to a message bus that reconnects whenever the bus comes back. A bus that hangs
/// counts as absent until it lets this program in. Only `serveUntil` waits for the bus. Main thread
/// only.
///
/// Destroying a returned `Subscription` cancels the call or withdraws the match or object. The end
/// of the connection does the same. A handler may destroy its own subscription.
class Bus {
  public:
    /// Appends a call's arguments; returns what `sd_bus_message_append` returned.
    using Writer = std::function<int(sd_bus_message* message)>;
    using Answered = std::function<void(Result<sd_bus_message*, BusError> reply)>;

    /// The addresses of the session and system bus according to the environment.
    static std::string sessionAddress();
    static std::string systemAddress();

    /// Starts connecting. The address is in D-Bus's notation.
    explicit Bus(std::string address);
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    /// From now on the event loop serves the connection. Needs the application object.
    void serve();

    /// Serves only this connection until `isDone` returns true. Gives up after `longest`, or at
    /// once without a bus. For use before and after the event loop.
    void serveUntil(const std::function<bool()>& isDone, std::chrono::milliseconds longest);

    /// Waits at most 50 ms for a running bus to let this program in.
    void awaitConnection();

    bool isConnected() const { return connected; }

    /// This program's name on the bus; empty while the bus is absent.
    std::string uniqueName() const;

    /// The observer is called whenever the bus appears or disappears.
    Subscription observe(std::function<void()> observer) {
        return observers.add(std::move(observer));
    }

    static constexpr std::chrono::microseconds usualDeadline = std::chrono::seconds(25);
    static constexpr auto noDeadline = std::chrono::microseconds::max();

    /// `answered` is called once, from the event loop, with the reply or an error. While the bus is
    /// absent, it gets an error on the loop's next turn. Both functions may be empty.
    Subscription call(const BusMethod& method, const Writer& write, Answered answered,
                      std::chrono::microseconds deadline = usualDeadline);

    /// Like `call`, but it cannot be canceled. Always answered, unless this object is destroyed
    /// first.
    void request(const BusMethod& method, const Writer& write, Answered answered);

    /// Calls the handler for every message that matches the D-Bus rule.
    Subscription match(const std::string& rule, std::function<void(sd_bus_message*)> handler);

    /// Serves an object's interface. `owner` is passed to the table's functions.
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
    struct Request {
        Subscription call;
        Answered answered;
    };
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
    /// The bus is not running; the connection waits for its socket.
    bool isAbsent = false;
    bool isServed = false;
    bool isProcessing = false;
    Notifier readable;
    Notifier writable;
    std::unique_ptr<QTimer> timer;
    ObserverList<> observers;
    std::list<Request> requests;
};

// Any program on the bus can send signals directly to this one, even ones that no match rule
// allows. Where that matters, compare the signal's sender with the sender of a reply.

std::string senderOf(sd_bus_message* message);
bool isFromTheBus(sd_bus_message* message);

/// Reads the message's next argument, a list of texts.
std::vector<std::string> readTexts(sd_bus_message* message);

/// Converts a text to what D-Bus accepts: UTF-8 up to the first NUL.
QByteArray busText(const std::string& text);

} // namespace quoxelin
