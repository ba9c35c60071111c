#include "Platform/Linux/Services/SingleInstance.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <future>
#include <thread>

// Tests/EndToEnd/test_absent_services.py starts second instances.
namespace quoxelin::testing {

namespace {

using Role = SingleInstance::Role;
const QString applicationName = "com.quoxelin.desktop";
constexpr std::chrono::milliseconds patience{10000};

/// An instance and the requests that it has received.
struct Instance {
    explicit Instance(const QString& address) : bus(address.toStdString()) {
        bus.serveUntil([this] { return bus.isConnected(); }, patience);
        bus.serve();
    }

    auto claim(const std::optional<std::string>& url = std::nullopt) {
        return single.claim(url, patience);
    }

    Bus bus;
    std::vector<std::string> asked;
    SingleInstance single{bus,
                          {.open =
                               [this](const std::vector<std::string>& urls) {
                                   for (const auto& url : urls)
                                       asked.push_back("open " + url);
                               },
                           .activate = [this] { asked.push_back("activate"); }}};
};

} // namespace

TEST(SingleInstance, theFirstInstanceOwnsTheName) {
    RunningBus daemon;
    Instance first(daemon.address());
    EXPECT_EQ(first.claim("quoxelin://x?token=1"), Role::first);
    EXPECT_TRUE(daemon.connect().interface()->isServiceRegistered(applicationName));
    EXPECT_TRUE(first.asked.empty());
}

TEST(SingleInstance, theNextInstanceOwnsTheNameOnceTheFirstHasExited) {
    RunningBus daemon;
    {
        Instance first(daemon.address());
        ASSERT_EQ(first.claim(), Role::first);
    }
    Instance next(daemon.address());
    EXPECT_EQ(next.claim(), Role::first);
}

TEST(SingleInstance, theNextInstanceOwnsTheNameIfTheFirstExitsWhileItIsCalled) {
    RunningBus daemon;
    std::promise<void> started;
    std::thread first([&] {
        sd_bus* bus = nullptr;
        sd_bus_new(&bus);
        sd_bus_set_address(bus, daemon.address().toUtf8().constData());
        sd_bus_set_bus_client(bus, 1);
        sd_bus_start(bus);
        sd_bus_request_name(bus, "com.quoxelin.desktop", 0);
        started.set_value();
        for (bool isCalled = false; !isCalled;) {
            sd_bus_message* message = nullptr;
            if (sd_bus_process(bus, &message) == 0)
                sd_bus_wait(bus, UINT64_MAX);
            if (sd_bus_message_is_method_call(message, nullptr, "Activate") > 0) {
                isCalled = true;
                sd_bus_release_name(bus, "com.quoxelin.desktop");
                sd_bus_reply_method_errorf(message, SD_BUS_ERROR_NAME_HAS_NO_OWNER, "exited");
            }
            sd_bus_message_unref(message);
        }
        sd_bus_flush_close_unref(bus);
    });
    started.get_future().wait();
    Instance next(daemon.address());
    EXPECT_EQ(next.claim(), Role::first);
    first.join();
    EXPECT_TRUE(daemon.connect().interface()->isServiceRegistered(applicationName));
}

TEST(SingleInstance, answersTheCallsOfTheDesktop) {
    RunningBus daemon;
    Instance first(daemon.address());
    ASSERT_EQ(first.claim(), Role::first);
    auto connection = daemon.connect();
    const auto call = [&](const QString& method, const QVariantList& arguments) {
        auto message = QDBusMessage::createMethodCall(applicationName, "/com/quoxelin/desktop",
                                                      "org.freedesktop.Application", method);
        message.setArguments(arguments);
        const auto pending = connection.asyncCall(message);
        pollUntil([&] { return pending.isFinished(); });
        return pending.reply().type() == QDBusMessage::ReplyMessage;
    };
    EXPECT_TRUE(call("Open", {QStringList{"quoxelin:a", "quoxelin:b"}, QVariantMap()}));
    EXPECT_TRUE(call("ActivateAction", {"x", QVariantList(), QVariantMap()}));
    EXPECT_TRUE(call("Activate", {QVariantMap()}));
    EXPECT_FALSE(call("Open", {"no list"}));
    EXPECT_FALSE(call("Quit", {}));
    EXPECT_EQ(first.asked, (std::vector<std::string>{"open quoxelin:a", "open quoxelin:b",
                                                     "activate", "activate"}));
}

} // namespace quoxelin::testing
