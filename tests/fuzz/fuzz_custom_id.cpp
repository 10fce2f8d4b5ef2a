#include "Require.h"
#include "relay/ids/CustomIds.h"
#include "relay/ids/MacroTable.h"
#include "relay/model/DebugChannels.h"
#include "relay/model/DebugSink.h"

#include <array>
#include <string_view>

namespace {

/// Wants every text and drops it, so that all arguments are worked out.
class Nowhere : public DebugSink
{
public:
    [[nodiscard]] bool wantsDebugText() const override { return true; }
    void log(const char*, ...) const override __attribute__((format(printf, 2, 3))) {}
};

/// Every value is cut from the input: the node's texts are an operator's too.
class Values : public MacroValueSource
{
public:
    explicit Values(std::string_view texts) : pool(texts) {}

    [[nodiscard]] bool getMacroStringValue(dhcpraTypes::customIdFormat macro, const IdSubject&,
                                           std::string& value) const override
    {
        const auto index = static_cast<std::size_t>(macro);
        value = pool.substr(pool.empty() ? 0 : index * 7 % pool.size(), index + 1);
        return macro != dhcpraTypes::customIdFormat::TCONT && macro != dhcpraTypes::customIdFormat::HEX;
    }

private:
    std::string_view pool;
};

} // namespace

/// First byte: size of the texts that follow; the rest is the format.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string_view texts = input.substr(0, data[0]);
    const std::string format(input.substr(texts.size()));

    const Nowhere nowhere;
    static DebugChannels::Switch noTrace{false};
    const Values values(texts);
    std::string id = "stale";
    std::vector<std::uint8_t> bin{0xEE};
    require(genCustomId(values, {nowhere, noTrace}, {}, format, id, bin));

    require(bin.empty() ? id.size() <= customIdLengthMax : bin.size() <= customIdLengthMax);
    if (format.find('$') == std::string::npos)
        require(bin.empty() && id == format.substr(0, customIdLengthMax));
    return 0;
}
