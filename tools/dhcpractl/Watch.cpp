#include "tools/dhcpractl/Watch.h"

#include "tools/dhcpractl/CounterNames.h"
#include "tools/dhcpractl/Print.h"
#include "tools/dhcpractl/Settings.h"

#include <chrono>
#include <ctime>
#include <iomanip>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace dhcpractl {

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

struct Look
{
    SteadyTime time;
    std::vector<std::pair<std::string, std::uint32_t>> counters;
};

template <std::size_t Size>
void addNamed(Look& look, const char* prefix, const std::array<std::string_view, Size>& names,
              const Json& result)
{
    const Json& values = result.at("counters");
    for (std::size_t i = 0; i < Size && i < values.size(); ++i)
        look.counters.emplace_back(prefix + std::string(names[i]), values[i].get<std::uint32_t>());
}

Look lookAt(Connection& connection, const WatchOptions& options)
{
    Look look;
    if (options.interface) {
        const std::string id = std::to_string(*options.interface);
        addNamed(look, "", counterNames, ask(connection, "dra_intf_get_all_counters", {id}));
        addNamed(look, "v6-", counterNamesV6, ask(connection, "dra6_intf_get_all_counters", {id}));
        addNamed(look, "ndp-", counterNamesNdp, ask(connection, "dra6_intf_get_all_ndp_counters", {id}));
    } else {
        addNamed(look, "", counterNames, ask(connection, "dra_get_summed_counters"));
        addNamed(look, "v6-", counterNamesV6, ask(connection, "dra6_get_summed_counters"));
        addNamed(look, "ndp-", counterNamesNdp, ask(connection, "dra6_ndp_get_summed_counters"));
    }
    look.time = std::chrono::steady_clock::now();
    return look;
}

std::string timeText()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[16];
    return {text, std::strftime(text, sizeof text, "%H:%M:%S", &local)};
}

void report(const Look& before, const Look& now, const WatchOptions& options, std::ostream& out)
{
    const double seconds = std::chrono::duration<double>(now.time - before.time).count();
    Json moved = Json::object();
    for (std::size_t i = 0; i < now.counters.size(); ++i) {
        // Counters travel as 32 bits and may pass zero; the difference is right all the same.
        const std::uint32_t grown = now.counters[i].second - before.counters[i].second;
        if (grown != 0)
            moved[now.counters[i].first] = {{"total", now.counters[i].second}, {"rate", grown / seconds}};
    }
    if (options.json) {
        out << jsonText({{"time", timeText()}, {"counters", moved}}) << '\n' << std::flush;
        return;
    }
    out << timeText();
    for (const auto& [name, counter] : moved.items())
        out << "  " << name << ' ' << counter.at("total") << " (" << std::fixed << std::setprecision(1)
            << counter.at("rate").get<double>() << "/s)";
    out << (moved.empty() ? "  -\n" : "\n") << std::flush;
}

} // namespace

void watchCounters(Connection& connection, const WatchOptions& options, std::ostream& out)
{
    Look before = lookAt(connection, options);
    for (unsigned looks = 0; out && (options.count == 0 || looks < options.count); ++looks) {
        std::this_thread::sleep_for(std::chrono::seconds(options.interval));
        Look now = lookAt(connection, options);
        report(before, now, options, out);
        before = std::move(now);
    }
}

} // namespace dhcpractl
