#include "Platform/Linux/Services/Bus.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <utility>

namespace quoxelin {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using std::chrono::milliseconds;

/// Limited so that a flood of messages does not stop windows from painting.
constexpr int messagesPerTurn = 64;

/// The wait before another attempt on a bus that did not let this program in.
constexpr milliseconds retryDelay{1000};

constexpr milliseconds longestTimer = std::chrono::hours(24);

struct SdUnref {
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusSlot = std::unique_ptr<sd_bus_slot, SdUnref>;
using BusMessage = std::unique_ptr<sd_bus_message, SdUnref>;

std::string environment(const char* name) {
    return qgetenv(name).toStdString();
}

BusError busHasEnded() {
    return {SD_BUS_ERROR_DISCONNECTED, "The message bus has ended."};
}

Result<sd_bus_message*, BusError> outcomeOf(sd_bus_message* reply) {
    const auto* error = sd_bus_message_get_error(reply);
    if (error == nullptr)
        return reply;
    // When the connection is lost, the library itself generates the missing replies.
    if (sd_bus_is_ready(sd_bus_message_get_bus(reply)) <= 0)
        return tl::unexpected(busHasEnded());
    const bool hasText = error->message != nullptr && *error->message != '\0';
    return tl::unexpected(BusError{error->name, hasText ? error->message : error->name});
}

BusError notSent(int result) {
    if (result == -ENOTCONN)
        return {SD_BUS_ERROR_DISCONNECTED, "The message bus is not there."};
    return {SD_BUS_ERROR_INVALID_ARGS,
            std::string("The message cannot be sent: ") + std::strerror(-result)};
}

int ignore(sd_bus_message*, void*, sd_bus_error*) {
    return 0;
}

} // namespace

/// The function that the library calls back. It lives as long as its slot.
struct Bus::Handler {
    /// The function may destroy the handler.
    static int call(sd_bus_message* message, void* data, sd_bus_error*) {
        const auto function = static_cast<Handler*>(data)->function;
        function(message);
        return 0;
    }

    std::function<void(sd_bus_message*)> function;
    BusSlot slot;
};

BusMethod busMethod(const char* name) {
    constexpr const char* bus = "org.freedesktop.DBus";
    return {bus, "/org/freedesktop/DBus", bus, name};
}

void Bus::DeleteLater::operator()(QSocketNotifier* notifier) const {
    notifier->setEnabled(false);
    notifier->deleteLater();
}

std::string Bus::sessionAddress() {
    if (auto named = environment("DBUS_SESSION_BUS_ADDRESS"); !named.empty())
        return named;
    const auto directory = environment("XDG_RUNTIME_DIR");
    return directory.empty() ? "" : "unix:path=" + directory + "/bus";
}

std::string Bus::systemAddress() {
    const auto named = environment("DBUS_SYSTEM_BUS_ADDRESS");
    return named.empty() ? "unix:path=/run/dbus/system_bus_socket" : named;
}

Bus::Bus(std::string address) : address(std::move(address)) {
    open();
}

// The connection

void Bus::open() {
    isAbsent = false;
    int result = start(false);
    if (result < 0) {
        isAbsent = true;
        result = start(true);
    }
    if (result >= 0)
        return follow();
    connection.reset();
    // The bus is too busy to accept a connection.
    if (result == -EAGAIN && timer)
        timer->start(retryDelay);
}

int Bus::start(bool awaitsSocket) {
    sd_bus* made = nullptr;
    if (const int result = sd_bus_new(&made); result < 0)
        return result;
    connection.reset(made);
    sd_bus_set_address(made, address.c_str());
    sd_bus_set_bus_client(made, 1);
    sd_bus_set_watch_bind(made, awaitsSocket ? 1 : 0);
    return sd_bus_start(made);
}

void Bus::serve() {
    isServed = true;
    timer = std::make_unique<QTimer>();
    timer->setSingleShot(true);
    QObject::connect(timer.get(), &QTimer::timeout, timer.get(), [this] {
        if (connection)
            process();
        else
            open();
    });
    if (connection)
        follow();
    else
        open();
}

void Bus::serveUntil(const std::function<bool()>& isDone, milliseconds longest) {
    const auto deadline = Clock::now() + longest;
    while (!isDone() && connection && !isAbsent) {
        const auto left = std::chrono::duration_cast<microseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            return;
        sd_bus_wait(connection.get(), static_cast<std::uint64_t>(left.count()));
        process();
    }
}

void Bus::awaitConnection() {
    serveUntil([this] { return connected; }, milliseconds(50));
}

void Bus::process() {
    if (!connection || std::exchange(isProcessing, true))
        return;
    const auto isEnding = [this] { return sd_bus_is_open(connection.get()) <= 0; };
    int result = 1;
    // A connection that ends answers all calls first, and returns 0 after each of them.
    for (int count = 0; isEnding() ? result >= 0 : result > 0 && count < messagesPerTurn; ++count)
        result = sd_bus_process(connection.get(), nullptr);
    isProcessing = false;
    if (result < 0) {
        lost();
    } else if (!connected && sd_bus_is_ready(connection.get()) > 0) {
        connected = true;
        isAbsent = false;
        observers.notify();
    }
    follow();
}

void Bus::lost() {
    connection.reset();
    readable.reset();
    writable.reset();
    const bool wasConnected = std::exchange(connected, false);
    for (const auto& request : std::exchange(requests, {}))
        request.answered(tl::unexpected(busHasEnded()));
    if (wasConnected) {
        observers.notify();
        open();
    } else if (timer) {
        timer->start(retryDelay);
    }
}

/// Makes the event loop wait for what the connection waits for.
void Bus::follow() {
    if (!isServed || !connection)
        return;
    const int descriptor = sd_bus_get_fd(connection.get());
    if (!readable || readable->socket() != descriptor) {
        readable = makeNotifier(descriptor, QSocketNotifier::Read);
        writable = makeNotifier(descriptor, QSocketNotifier::Write);
    }
    const int events = sd_bus_get_events(connection.get());
    readable->setEnabled((events & POLLIN) != 0);
    writable->setEnabled((events & POLLOUT) != 0);
    std::uint64_t due = UINT64_MAX;
    sd_bus_get_timeout(connection.get(), &due);
    if (due == UINT64_MAX)
        return timer->stop();
    // Both use the monotonic clock.
    const auto now = std::chrono::duration_cast<microseconds>(Clock::now().time_since_epoch());
    const auto left =
        std::chrono::ceil<milliseconds>(microseconds(static_cast<microseconds::rep>(due)) - now);
    timer->start(std::clamp(left, milliseconds(0), longestTimer));
}

Bus::Notifier Bus::makeNotifier(int descriptor, QSocketNotifier::Type type) {
    Notifier notifier(new QSocketNotifier(descriptor, type));
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [this] { process(); });
    return notifier;
}

std::string Bus::uniqueName() const {
    const char* name = nullptr;
    if (connected)
        sd_bus_get_unique_name(connection.get(), &name);
    return name == nullptr ? "" : name;
}

// Messages

Subscription Bus::call(const BusMethod& method, const Writer& write, Answered answered,
                       microseconds deadline) {
    const auto handler = std::make_shared<Handler>();
    if (answered)
        handler->function = [answered](auto* reply) { answered(outcomeOf(reply)); };
    const int result = send(method, write, *handler, deadline);
    if (result < 0 && answered)
        QTimer::singleShot(0, [weak = std::weak_ptr(handler), answered, result] {
            if (!weak.expired())
                answered(tl::unexpected(notSent(result)));
        });
    follow();
    return Subscription([handler] {});
}

void Bus::request(const BusMethod& method, const Writer& write, Answered answered) {
    const auto place = requests.insert(requests.end(), Request{{}, std::move(answered)});
    place->call = call(method, write, [this, place](auto reply) {
        const auto own = std::move(*place);
        requests.erase(place);
        own.answered(std::move(reply));
    });
}

int Bus::send(const BusMethod& method, const Writer& write, Handler& handler,
              microseconds deadline) {
    if (!connected)
        return -ENOTCONN;
    sd_bus_message* made = nullptr;
    int result = sd_bus_message_new_method_call(connection.get(), &made, method.service,
                                                method.path, method.interface, method.name);
    const BusMessage message(made);
    if (result >= 0 && write)
        result = write(made);
    if (result < 0)
        return result;
    sd_bus_slot* slot = nullptr;
    const sd_bus_message_handler_t called = handler.function ? &Handler::call : &ignore;
    result = sd_bus_call_async(
        connection.get(), &slot, made, called, &handler,
        deadline == noDeadline ? UINT64_MAX : static_cast<std::uint64_t>(deadline.count()));
    handler.slot.reset(slot);
    return result;
}

Subscription Bus::match(const std::string& rule, std::function<void(sd_bus_message*)> handle) {
    const auto handler = std::make_shared<Handler>();
    handler->function = std::move(handle);
    sd_bus_slot* slot = nullptr;
    if (connected)
        sd_bus_add_match_async(connection.get(), &slot, rule.c_str(), &Handler::call, &ignore,
                               handler.get());
    handler->slot.reset(slot);
    follow();
    return Subscription([handler] {});
}

Subscription Bus::serveObject(const char* path, const char* interface, const sd_bus_vtable* table,
                              void* owner) {
    sd_bus_slot* slot = nullptr;
    if (connected)
        sd_bus_add_object_vtable(connection.get(), &slot, path, interface, table, owner);
    return Subscription([held = std::shared_ptr<sd_bus_slot>(slot, SdUnref())] {});
}

void Bus::emitSignal(const char* path, const char* interface, const char* name,
                     const Writer& write) {
    if (!connected)
        return;
    sd_bus_message* made = nullptr;
    int result = sd_bus_message_new_signal(connection.get(), &made, path, interface, name);
    const BusMessage message(made);
    if (result >= 0 && write)
        result = write(made);
    if (result >= 0)
        sd_bus_send(connection.get(), made, nullptr);
    follow();
}

std::string senderOf(sd_bus_message* message) {
    const char* sender = sd_bus_message_get_sender(message);
    return sender == nullptr ? "" : sender;
}

bool isFromTheBus(sd_bus_message* message) {
    return senderOf(message) == "org.freedesktop.DBus";
}

std::vector<std::string> readTexts(sd_bus_message* message) {
    std::vector<std::string> texts;
    if (sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "s") <= 0)
        return texts;
    const char* text = nullptr;
    while (sd_bus_message_read(message, "s", &text) > 0)
        texts.emplace_back(text);
    sd_bus_message_exit_container(message);
    return texts;
}

QByteArray busText(const std::string& text) {
    return QString::fromStdString(text).toUtf8();
}

} // namespace quoxelin
