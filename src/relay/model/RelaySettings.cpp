#include "relay/model/RelaySettings.h"

std::optional<dhcpraTypes::interfaceMode> factoryMode(Interfaces::interfaceType type)
{
    using Interfaces::interfaceType;
    switch (type) {
    case interfaceType::subscriber:
    case interfaceType::pvc:
    case interfaceType::gem:
        return dhcpraTypes::interfaceMode::CLIENTS;
    case interfaceType::eth:
    case interfaceType::lag:
        return dhcpraTypes::interfaceMode::ENABLE;
    case interfaceType::pon:
    case interfaceType::onu:
    case interfaceType::management:
        return std::nullopt;
    }
    return std::nullopt; // a number outside the registry's types
}

namespace {

template <class Rows>
void addFactoryModes(Rows& rows, const std::vector<Interfaces::Interface>& registry)
{
    for (const Interfaces::Interface& interface : registry) {
        if (const auto mode = factoryMode(interface.type))
            rows[interface.id].mode = *mode;
    }
}

} // namespace

RelaySettings::RelaySettings(const std::vector<Interfaces::Interface>& registry)
{
    addFactoryModes(interfaces, registry);
}

RelaySettingsV6::RelaySettingsV6(const std::vector<Interfaces::Interface>& registry)
{
    addFactoryModes(interfaces, registry);
}
