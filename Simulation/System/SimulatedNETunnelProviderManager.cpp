#include "Simulation/System/SimulatedNETunnelProviderManager.h"

namespace quoxelin {

using Operation = SimulatedNetworkExtension::Operation;

void SimulatedNETunnelProviderManager::loadFromPreferences(PreferencesCompletion completion) {
    system.perform(
        Operation::load, [self = shared_from_this()] { self->read(); }, std::move(completion));
}

void SimulatedNETunnelProviderManager::saveToPreferences(PreferencesCompletion completion) {
    system.perform(
        Operation::save,
        [self = shared_from_this(), configuration = working.copy()] {
            self->system.save(self->saved, configuration);
        },
        std::move(completion));
}

void SimulatedNETunnelProviderManager::removeFromPreferences(PreferencesCompletion completion) {
    system.perform(
        Operation::remove, [self = shared_from_this()] { self->system.remove(self->saved); },
        std::move(completion));
}

std::shared_ptr<NEVPNProtocol> SimulatedNETunnelProviderManager::protocolConfiguration() const {
    return system.protocolAccess == SimulatedNetworkExtension::ProtocolAccess::byReference
               ? working.protocol
               : working.copy().protocol;
}

void SimulatedNETunnelProviderManager::setProtocolConfiguration(
    std::shared_ptr<NEVPNProtocol> protocol) {
    working.protocol = std::move(protocol);
    if (system.protocolAccess == SimulatedNetworkExtension::ProtocolAccess::byCopy)
        working = working.copy();
}

std::shared_ptr<NEVPNConnection> SimulatedNETunnelProviderManager::connection() const {
    return system.hasConnections ? saved->connection : nullptr;
}

void SimulatedNETunnelProviderManager::read() {
    working =
        saved->isSaved ? saved->configuration.copy() : SimulatedNetworkExtension::Configuration{};
}

} // namespace quoxelin
