#include "relay/ids/TestWords.h"

#include "common/CZoUtil.h"
#include "relay/ids/NumberText.h"

#include <cstdlib>
#include <string_view>

namespace {

/// What stands behind the prefix; empty for another word.
std::string_view behind(std::string_view key, std::string_view prefix)
{
    return key.starts_with(prefix) ? key.substr(prefix.size()) : std::string_view{};
}

template <class Number>
void setNumber(Number& target, const char* label, const std::string& value, std::ostringstream& out)
{
    target = static_cast<Number>(std::strtol(value.c_str(), nullptr, 10));
    out << "Setting " << label << ": " << target << '\n';
}

void setText(std::string& target, const char* label, const std::string& value, std::ostringstream& out)
{
    target = value;
    out << "Setting " << label << ": '" << target << "'";
}

/// Pairs of digits at positions 0, 3, 6 and so on; a pair that is not there is 0.
void setMac(std::array<std::uint8_t, 6>& mac, const std::string& value, std::ostringstream& out)
{
    for (std::size_t index = 0; index < mac.size(); ++index) {
        const std::size_t position = index * 3;
        const auto at = [&](std::size_t place) { return place < value.size() ? value[place] : '\0'; };
        mac[index] = hexByte(at(position), at(position + 1));
    }
    out << "Setting clntMac: " << CZoUtil::macToString(mac.data());
}

} // namespace

void testDump(const customFormatTestData_t& data, bool testDebug, std::ostringstream& out)
{
    out << "\n Debug: " << (testDebug ? 1 : 0) << "\n\n";
    out << " Test data:\n ------------\n";
    out << " vlan: " << data.vlan << '\n';
    out << " cvid: " << data.cvid << '\n';
    out << " intfId: " << data.intfId << '\n';
    out << " onu: " << data.onu << '\n';
    out << " vgem: " << data.vgem << '\n';
    out << " tcontType: " << data.tcontType << '\n';
    out << " clntMac: " << CZoUtil::macToString(data.clntMac.data()) << '\n';
    out << " customCidStr: '" << data.customCidStr << "'\n";
    out << " customRidStr: '" << data.customRidStr << "'\n";
    out << '\n';
}

void testSet(const TestWordNames& names, customFormatTestData_t& data, const std::string& key,
             const std::string& value, std::ostringstream& out)
{
    const std::string_view item = behind(key, names.setPrefix);
    out << '\n';
    if (item == "Vlan")
        setNumber(data.vlan, "vlan", value, out);
    else if (item == "Cvid")
        setNumber(data.cvid, "cvid", value, out);
    else if (item == "IntfId")
        setNumber(data.intfId, "intfId", value, out);
    else if (item == "Onu")
        setNumber(data.onu, "onu", value, out);
    else if (item == "Vgem")
        setNumber(data.vgem, "vgem", value, out);
    else if (item == "TContType")
        setNumber(data.tcontType, "tcontType", value, out);
    else if (item == "CustomCidStr")
        setText(data.customCidStr, "customCidStr", value, out);
    else if (item == "CustomRidStr")
        setText(data.customRidStr, "customRidStr", value, out);
    else if (item == "ClntMac")
        setMac(data.clntMac, value, out);
    out << '\n';
}

void testRun(const TestWordNames& names, const customFormatTestData_t& data, const CustomIds& ids,
             const std::string& key, const std::string& mode, std::ostringstream& out)
{
    dhcpraTypes::idGenType type{};
    if (mode == "test")
        type = dhcpraTypes::idGenType::testData;
    else if (mode == "available")
        type = dhcpraTypes::idGenType::managementQuery;
    else
        return;

    const std::string_view item = behind(key, names.runPrefix);
    if (item != "Cid" && item != "Rid")
        return;
    const bool isRemoteId = item == "Rid";
    std::string id;
    std::vector<std::uint8_t> bin;
    ids.genCustomId(data.intfId, data.vlan, data.cvid, isRemoteId ? data.customRidStr : data.customCidStr, id,
                    bin, type);
    out << "\n Generated Custom " << (isRemoteId ? "Remote" : names.idName) << " Id: '" << id << "'\n\n";
}
