#include "rte/BLL/core/FeatureTable.h"

#include "log/LogText.h"
#include "rte/BLL/core/BoardTable.h"

namespace {
constexpr int optionHttpServer = 5;
constexpr int optionDsFec = 13;
constexpr int optionOnuBasedStates = 15;
} // namespace

void FeatureTable::load(const std::string& board, const boost::function<bool(int)>& isActive)
{
    const bool onuBased = isActive(optionOnuBasedStates);
    const std::string type = board.substr(0, 3);

    set("httpserver", isActive(optionHttpServer));
    if (board.empty())
        logText(LogImpl::critical, "BLLManager::loadBllFeatures: Cannot read board_id.\n");
    else
        set("lagmembership", isKnownBoard(board));
    set("oltintervalstat", true);
    set("onubasedoltstates", onuBased);
    set("legacyalarm", !onuBased);
    set("sfpuplinkspeed", onuBased);
    set("dsfec", isActive(optionDsFec) || onuBased);
    set("oltsfpmode", false);
    set("uplinksfpwhitelist", type == "QXJ" || type == "QXK");
}

bool FeatureTable::isSupported(const std::string& name) const
{
    const std::lock_guard guard(leaf);
    const auto row = features.find(name);
    return row == features.end() || row->second;
}

void FeatureTable::set(const std::string& name, bool value)
{
    const std::lock_guard guard(leaf);
    features[name] = value;
}

void FeatureTable::set(const std::string& name, bool value, std::ostringstream* out)
{
    set(name, value);
    if (out != nullptr)
        *out << "Setting BLL feature '" << name << "' to " << (value ? "True" : "False") << '\n';
}

void FeatureTable::dump(std::ostringstream* out) const
{
    const std::lock_guard guard(leaf);
    *out << "\nSupported features:\n------------------\n";
    for (const auto& [name, value] : features)
        *out << ' ' << name << ": " << (value ? "true" : "false") << '\n';
    *out << '\n';
}
