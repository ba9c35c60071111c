// Carries out calls of the VPN adapter that come as steering commands on standard input, on the
// system bus and the NetworkManager of the machine that it runs on, and tells of its notifications
// as events.
//
//   load-all                    the managers; they take the places 0, 1, ... of those there were
//   new                         a new manager takes the next place
//   set                         description, server, provider, enabled, sleep of the one at "place"
//   read, load, save, remove    of the one at "place"
//   start, stop                 the tunnel of the one at "place"
//   stop-and-exit               stops it, as at the end of the application, and ends
//   end                         the adapter ends; the managers go on

#include "Base/NotificationCenter.h"
#include "Platform/Linux/QtDispatch.h"
#include "Platform/Linux/Services/Bus.h"
#include "Platform/Linux/Services/NetworkManagerVPN.h"
#include "Simulation/Desktop/Linux/StandardInput.h"
#include "Simulation/Steering/Steering.h"
#include "Simulation/Steering/SteeringSupport.h"

#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>

namespace quoxelin {

namespace {

using namespace steering;

using Manager = std::shared_ptr<NETunnelProviderManager>;

void writeLine(const std::string& line) {
    std::fputs((line + '\n').c_str(), stdout);
    std::fflush(stdout);
}

void describe(json::Writer& writer, const NETunnelProviderManager& manager) {
    optionalMember(writer, "description", manager.localizedDescription());
    member(writer, "enabled", manager.isEnabled());
    count(writer, "status", static_cast<std::size_t>(manager.connection()->status()));
    const auto protocol =
        std::dynamic_pointer_cast<NETunnelProviderProtocol>(manager.protocolConfiguration());
    if (!protocol)
        return;
    optionalMember(writer, "provider", protocol->providerBundleIdentifier);
    optionalMember(writer, "server", protocol->serverAddress);
    member(writer, "sleep", protocol->disconnectOnSleep);
}

void describe(json::Writer& writer, const std::optional<Error>& error) {
    if (!error)
        return;
    member(writer, "domain", error->domain);
    writer.key("code");
    writer.integer(error->code);
    member(writer, "error-text", error->localizedDescription);
}

class Driver {
  public:
    Driver() {
        systemBus.serve();
        statusObserver = center.addObserver(NEVPNStatusDidChange,
                                            [this](const Notification&) { tell("status"); });
        configurationObserver = center.addObserver(
            NEVPNConfigurationChange, [this](const Notification&) { tell("configuration"); });
        addManagers();
        addPreferences();
        addTunnel();
        steering.addAction("end", [this] { adapter.reset(); });
        writeLine(R"({"event":"ready"})");
    }

  private:
    void tell(const std::string& what) {
        std::string status;
        if (!managers.empty())
            status = ",\"status\":" + std::to_string(managers.front()->connection()->status());
        writeLine("{\"event\":\"" + what + '"' + status + '}');
    }

    Manager at(SteeringReader& reader) const {
        const auto place = static_cast<std::size_t>(reader.integer("place").value_or(0));
        if (place < managers.size())
            return managers[place];
        reader.fail("there is no manager at that place");
        return nullptr;
    }

    void addManagers() {
        steering.add("load-all", [this](SteeringReader&) {
            return [this](const SteeringReply& reply) {
                adapter->loadAllFromPreferences(
                    [this, reply](const Result<NetworkExtension::Managers, Error>& loaded) {
                        if (!loaded)
                            return reply.ok(
                                [&](auto& writer) { describe(writer, loaded.error()); });
                        managers = *loaded;
                        reply.ok([this](auto& writer) {
                            objects(writer, "managers", managers,
                                    [&](const auto& one) { describe(writer, *one); });
                        });
                    });
            };
        });
        steering.addAction("new",
                           [this] { managers.push_back(adapter->makeTunnelProviderManager()); });
        steering.add("set", [this](SteeringReader& reader) {
            const auto manager = at(reader);
            const auto description = reader.text("description");
            const auto server = reader.text("server");
            const auto provider = reader.text("provider");
            const auto enabled = reader.flag("enabled");
            const auto sleep = reader.flag("sleep");
            return doing([=] {
                if (description)
                    manager->setLocalizedDescription(*description);
                if (enabled)
                    manager->setEnabled(*enabled);
                auto protocol = std::dynamic_pointer_cast<NETunnelProviderProtocol>(
                    manager->protocolConfiguration());
                if (!protocol)
                    protocol = std::make_shared<NETunnelProviderProtocol>();
                takeOver(protocol->serverAddress, server);
                takeOver(protocol->providerBundleIdentifier, provider);
                takeOver(protocol->disconnectOnSleep, sleep);
                manager->setProtocolConfiguration(protocol);
            });
        });
        steering.add("read", [this](SteeringReader& reader) {
            const auto manager = at(reader);
            return [manager](const SteeringReply& reply) {
                reply.ok([&](auto& writer) { describe(writer, *manager); });
            };
        });
    }

    void addPreferences() {
        using Operation = void (NETunnelProviderManager::*)(PreferencesCompletion);
        const std::map<std::string, Operation> operations = {
            {"load", &NETunnelProviderManager::loadFromPreferences},
            {"save", &NETunnelProviderManager::saveToPreferences},
            {"remove", &NETunnelProviderManager::removeFromPreferences}};
        for (const auto& [name, operation] : operations) {
            steering.add(name, [this, operation = operation](SteeringReader& reader) {
                const auto manager = at(reader);
                return [manager, operation](const SteeringReply& reply) {
                    ((*manager).*operation)([reply](const std::optional<Error>& error) {
                        reply.ok([&](auto& writer) { describe(writer, error); });
                    });
                };
            });
        }
    }

    void addTunnel() {
        steering.add("start", [this](SteeringReader& reader) {
            const auto manager = at(reader);
            return [manager](const SteeringReply& reply) {
                const auto started = manager->connection()->startVPNTunnel();
                reply.ok([&](auto& writer) {
                    if (!started)
                        describe(writer, started.error());
                    count(writer, "status",
                          static_cast<std::size_t>(manager->connection()->status()));
                });
            };
        });
        steering.add("stop", [this](SteeringReader& reader) {
            const auto manager = at(reader);
            return doing([manager] { manager->connection()->stopVPNTunnel(); });
        });
        steering.add("stop-and-exit", [this](SteeringReader& reader) {
            const auto manager = at(reader);
            return [this, manager](const SteeringReply&) {
                manager->connection()->stopVPNTunnel();
                adapter->waitForStops(seconds(5));
                std::_Exit(0);
            };
        });
    }

    QtDispatch dispatch;
    NotificationCenter center;
    Bus systemBus{Bus::systemAddress()};
    std::unique_ptr<NetworkManagerVPN> adapter =
        std::make_unique<NetworkManagerVPN>(center, systemBus);
    NetworkExtension::Managers managers;
    Subscription statusObserver;
    Subscription configurationObserver;
    Steering steering{dispatch, writeLine};
    StandardInput commands{[this](std::string_view line) { steering.take(line); }};
};

} // namespace

} // namespace quoxelin

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    quoxelin::Driver driver;
    return QCoreApplication::exec();
}
