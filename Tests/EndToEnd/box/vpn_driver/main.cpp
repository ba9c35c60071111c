// Reads steering commands on standard input and calls the VPN adapter for each, on the machine's
// system bus and NetworkManager. Reports the adapter's notifications as events.
//
//   load-all                    the managers; they replace all earlier ones, at places 0, 1, ...
//   new                         a new manager takes the next place
//   read, load, remove          the one at "place"
//   save                        the one at "place", changed by description, server, provider,
//                               enabled and sleep where they are present
//   start, stop                 the tunnel of the one at "place"
//   failure                     why the one at "place" ended
//   stop-and-exit               stops it and exits, like the application at its end
//   end                         destroys the adapter and keeps the managers

#include "Base/NotificationCenter.h"
#include "Platform/Linux/QtDispatch.h"
#include "Platform/Linux/Services/Bus.h"
#include "Platform/Linux/Services/NetworkManagerVPN.h"
#include "Simulation/Desktop/Linux/StandardInput.h"
#include "Simulation/Steering/Steering.h"

#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>

namespace quoxelin {

namespace {

using Manager = std::shared_ptr<NETunnelProviderManager>;

void writeLine(const std::string& line) {
    std::fputs((line + '\n').c_str(), stdout);
    std::fflush(stdout);
}

json::Object stateOf(const NETunnelProviderManager& manager) {
    const auto configuration = manager.configuration();
    json::Object members = {{"enabled", configuration.isEnabled},
                            {"status", manager.status().value()}};
    const auto add = [&](const char* name, const std::optional<std::string>& text) {
        if (text)
            members.push_back({name, *text});
    };
    add("description", configuration.localizedDescription);
    if (const auto& protocol = configuration.protocol) {
        add("provider", protocol->providerBundleIdentifier);
        add("server", protocol->serverAddress);
        members.push_back({"sleep", protocol->disconnectOnSleep});
    }
    return members;
}

json::Object membersOf(const Error& error) {
    return {
        {"domain", error.domain}, {"code", error.code}, {"error-text", error.localizedDescription}};
}

PreferencesCompletion answering(const SteeringReply& reply) {
    return [reply](const std::optional<Error>& error) {
        reply.ok(error ? membersOf(*error) : json::Object());
    };
}

class Driver {
  public:
    Driver() {
        systemBus.serveUntil([this] { return systemBus.isConnected(); }, std::chrono::seconds(10));
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
            status = ",\"status\":" + std::to_string(managers.front()->status().value());
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
                            return reply.ok(membersOf(loaded.error()));
                        managers = *loaded;
                        json::Array states;
                        for (const auto& manager : managers)
                            states.emplace_back(stateOf(*manager));
                        reply.ok({{"managers", states}});
                    });
            };
        });
        steering.addAction("new",
                           [this] { managers.push_back(adapter->makeTunnelProviderManager()); });
        steering.add("read", [this](SteeringReader& reader) {
            const auto manager = at(reader);
            return [manager](const SteeringReply& reply) { reply.ok(stateOf(*manager)); };
        });
    }

    void addPreferences() {
        steering.add("save", [this](SteeringReader& reader) {
            const auto manager = at(reader);
            const auto description = reader.text("description");
            const auto server = reader.text("server");
            const auto provider = reader.text("provider");
            const auto enabled = reader.flag("enabled");
            const auto sleep = reader.flag("sleep");
            return [=](const SteeringReply& reply) {
                auto changed = manager->configuration();
                if (description)
                    changed.localizedDescription = description;
                changed.isEnabled = enabled.value_or(changed.isEnabled);
                auto protocol = changed.protocol.value_or(NETunnelProviderProtocol());
                if (server)
                    protocol.serverAddress = server;
                if (provider)
                    protocol.providerBundleIdentifier = provider;
                protocol.disconnectOnSleep = sleep.value_or(protocol.disconnectOnSleep);
                changed.protocol = protocol;
                manager->saveToPreferences(changed, answering(reply));
            };
        });
        using Operation = void (NETunnelProviderManager::*)(PreferencesCompletion);
        const std::map<std::string, Operation> operations = {
            {"load", &NETunnelProviderManager::loadFromPreferences},
            {"remove", &NETunnelProviderManager::removeFromPreferences},
            {"failure", &NETunnelProviderManager::fetchLastDisconnectError}};
        for (const auto& [name, operation] : operations) {
            steering.add(name, [this, operation = operation](SteeringReader& reader) {
                return [manager = at(reader), operation](const SteeringReply& reply) {
                    ((*manager).*operation)(answering(reply));
                };
            });
        }
    }

    void addTunnel() {
        steering.add("start", [this](SteeringReader& reader) {
            const auto manager = at(reader);
            return [manager](const SteeringReply& reply) {
                const auto started = manager->startVPNTunnel();
                auto members = started ? json::Object() : membersOf(started.error());
                members.push_back({"status", manager->status().value()});
                reply.ok(members);
            };
        });
        steering.add("stop", [this](SteeringReader& reader) {
            const auto manager = at(reader);
            return doing([manager] { manager->stopVPNTunnel(); });
        });
        steering.add("stop-and-exit", [this](SteeringReader& reader) {
            const auto manager = at(reader);
            return [this, manager](const SteeringReply&) {
                manager->stopVPNTunnel();
                adapter->endTunnels(std::chrono::seconds(1));
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
    Steering steering{
        [this](Duration delay, Work work) { dispatch.main().asyncAfter(delay, std::move(work)); },
        writeLine};
    StandardInput commands{[this](std::string_view line) { steering.take(line); },
                           [this] { steering.look(); }};
};

} // namespace

} // namespace quoxelin

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    quoxelin::Driver driver;
    return QCoreApplication::exec();
}
