#include "Platform/Linux/Services/DBusHelper.h"

#include <algorithm>
#include <map>
#include <utility>

namespace quoxelin {

namespace {

using Clock = std::chrono::steady_clock;
using ErrorHandler = std::function<void(const Error&)>;

constexpr auto recently = std::chrono::seconds(1);

// The framework's error numbers.
constexpr std::int64_t interrupted = 4097;
constexpr std::int64_t invalid = 4099;

Error connectionError(std::int64_t code, const std::string& text) {
    return {"NSCocoaErrorDomain", code, text};
}

BusMethod helperMethod(const char* name) {
    return {DBusHelper::service, "/com/quoxelin/desktop/Helper",
            "com.quoxelin.desktop.HelperToolProtocol", name};
}

int appendTexts(sd_bus_message* message, const std::vector<std::string>& texts) {
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "s");
    for (const auto& text : texts)
        if (const int result = sd_bus_message_append(message, "s", text.c_str()); result < 0)
            return result;
    return sd_bus_message_close_container(message);
}

} // namespace

/// Everything runs on the main thread; calls from other threads are repeated there.
class DBusHelper::Connection final : public NSXPCConnection,
                                     public std::enable_shared_from_this<Connection> {
  public:
    /// Returns true if it could read the message; it has then called the reply handler.
    using Reader = std::function<bool(sd_bus_message* reply)>;

    Connection(DBusHelper& helper, bool isKnown)
        : dispatch(helper.dispatch), helper(&helper), isKnown(isKnown) {}

    void setInterruptionHandler(std::function<void()> handler) override {
        perform([this, handler = std::move(handler)] { interruptionHandler = handler; });
    }

    void setInvalidationHandler(std::function<void()> handler) override {
        perform([this, handler = std::move(handler)] { invalidationHandler = handler; });
    }

    void resume() override {
        perform([this] {
            resumed = Clock::now();
            if (helper != nullptr)
                helper->open.insert(shared_from_this());
        });
    }

    void remoteObjectProxyWithErrorHandler(
        ErrorHandler handler,
        std::function<void(std::shared_ptr<HelperToolProtocol>)> completion) override;

    void invalidate() override {
        perform([this] {
            const auto told = std::exchange(invalidationHandler, nullptr);
            if (auto* const owner = helper) {
                drop();
                owner->open.erase(shared_from_this());
            }
            if (told)
                told();
        });
    }

    void send(const char* method, Bus::Writer write, Reader read, ErrorHandler failed) {
        perform([this, method, write = std::move(write), read = std::move(read),
                 failed = std::move(failed)] {
            if (helper == nullptr)
                return failed(connectionError(invalid, "The connection to " + std::string(service) +
                                                           " was invalidated."));
            const auto number = ++messageCount;
            pending[number] = helper->bus.call(
                helperMethod(method), write,
                [weak = weak_from_this(), number, read, failed](const auto& reply) {
                    const auto self = weak.lock();
                    self->pending.erase(number);
                    if (!reply)
                        self->fail(reply.error(), failed);
                    else if (!read(*reply))
                        failed(connectionError(interrupted, "The reply cannot be read."));
                },
                Bus::noDeadline);
        });
    }

    /// After this no handler is called.
    void drop() {
        helper = nullptr;
        awaitsProxy = false;
        pending.clear();
        interruptionHandler = nullptr;
        invalidationHandler = nullptr;
    }

    bool awaitsReplySince(Clock::time_point time) const {
        return resumed >= time && (awaitsProxy || !pending.empty());
    }

  private:
    void perform(std::function<void()> work) {
        if (dispatch.isMainThread())
            work();
        else
            dispatch.main().async([self = shared_from_this(), work = std::move(work)] { work(); });
    }

    void fail(const BusError& error, const ErrorHandler& failed) {
        const bool hasEnded = error.name == SD_BUS_ERROR_NO_REPLY;
        failed(connectionError(interrupted, hasEnded
                                                ? std::string(service) + " ended before it replied."
                                                : error.text));
        if (hasEnded && interruptionHandler)
            interruptionHandler();
    }

    Dispatch& dispatch;
    /// Null once the connection is invalidated.
    DBusHelper* helper;
    const bool isKnown;
    Clock::time_point resumed;
    bool awaitsProxy = false;
    std::function<void()> interruptionHandler;
    std::function<void()> invalidationHandler;
    unsigned messageCount = 0;
    std::map<unsigned, Subscription> pending;
};

class DBusHelper::Proxy final : public HelperToolProtocol {
  public:
    Proxy(std::shared_ptr<Connection> connection, ErrorHandler failed)
        : connection(std::move(connection)), failed(std::move(failed)) {}

    void runGoToolWithPath(const std::string& path, const std::vector<std::string>& arguments,
                           std::function<void(std::string output)> reply) override {
        const auto write = [path, arguments](auto* message) {
            const int result = sd_bus_message_append(message, "s", path.c_str());
            return result < 0 ? result : appendTexts(message, arguments);
        };
        const auto read = [reply = std::move(reply)](auto* message) {
            const char* output = nullptr;
            if (sd_bus_message_read(message, "s", &output) <= 0)
                return false;
            reply(output);
            return true;
        };
        connection->send("RunGoTool", write, read, failed);
    }

    void pingWithReply(std::function<void(bool)> reply) override {
        const auto read = [reply = std::move(reply)](auto* message) {
            int isThere = 0;
            if (sd_bus_message_read(message, "b", &isThere) <= 0)
                return false;
            reply(isThere != 0);
            return true;
        };
        connection->send("Ping", nullptr, read, failed);
    }

  private:
    std::shared_ptr<Connection> connection;
    ErrorHandler failed;
};

void DBusHelper::Connection::remoteObjectProxyWithErrorHandler(
    ErrorHandler handler, std::function<void(std::shared_ptr<HelperToolProtocol>)> completion) {
    perform([this, handler = std::move(handler), completion = std::move(completion)] {
        if (helper == nullptr || !isKnown)
            return completion(nullptr);
        awaitsProxy = true;
        helper->presence().whenKnown(
            [self = shared_from_this(), handler, completion](bool isPresent) {
                self->awaitsProxy = false;
                const bool isThere = isPresent && self->helper != nullptr;
                completion(isThere ? std::make_shared<Proxy>(self, handler) : nullptr);
            });
    });
}

DBusHelper::DBusHelper(Dispatch& dispatch, Bus& bus) : dispatch(dispatch), bus(bus) {
    busObservation = bus.observe([this] {
        if (!this->bus.isConnected())
            for (const auto& connection : std::set(open))
                connection->invalidate();
    });
}

DBusHelper::~DBusHelper() {
    for (const auto& connection : open)
        connection->drop();
}

std::shared_ptr<NSXPCConnection>
DBusHelper::privilegedConnection(const std::string& machServiceName) {
    return std::make_shared<Connection>(*this, machServiceName == service);
}

void DBusHelper::waitForRecentReplies(std::chrono::milliseconds longest) {
    const auto since = Clock::now() - recently;
    const auto isAnswered = [&] {
        return std::none_of(open.begin(), open.end(), [&](const auto& connection) {
            return connection->awaitsReplySince(since);
        });
    };
    bus.serveUntil(isAnswered, longest);
}

} // namespace quoxelin
