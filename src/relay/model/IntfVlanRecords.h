#pragma once

#include "relay/model/dhcpraTypes.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

/**
 * The records that an interface keeps for single VLANs, with the rules both families share: an id mode, a
 * format of the first id (circuit id, interface id) and one of the remote id. A record that says nothing any
 * more goes away by itself.
 *
 * Record: members vlan and remoteIdFormat, mode(), idFormat(), and the constant noMode (a record without
 * a mode of its own).
 */
template <class Record>
class IntfVlanRecords
{
public:
    using Mode = typename Record::Mode;
    using Map = std::map<std::uint16_t, Record>; ///< ascending VLAN

    static constexpr std::size_t formatLengthMax = 128;

    /// False for an id of 0xFFF; a VLAN that has a record keeps it.
    bool add(std::uint16_t vid)
    {
        if (dhcpraTypes::isNoVlan(vid))
            return false;
        records.try_emplace(vid).first->second.vlan = vid;
        return true;
    }

    void remove(std::uint16_t vid) { records.erase(vid); }
    void clear() { records.clear(); }

    [[nodiscard]] const Map& all() const { return records; }
    [[nodiscard]] const Record* find(std::uint16_t vid) const
    {
        const auto found = records.find(vid);
        return found == records.end() ? nullptr : &found->second;
    }

    bool setIdFormat(std::uint16_t vid, const std::string& format)
    {
        return setFormat(vid, format, [](Record& record) -> std::string& { return record.idFormat(); });
    }
    bool setRemoteIdFormat(std::uint16_t vid, const std::string& format)
    {
        return setFormat(vid, format, [](Record& record) -> std::string& { return record.remoteIdFormat; });
    }

    bool setMode(std::uint16_t vid, Mode mode)
    {
        if (mode == Record::noMode && find(vid) == nullptr)
            return true;
        if (!add(vid))
            return false;
        records[vid].mode() = mode;
        removeIfSilent(vid);
        return true;
    }

private:
    template <class Member>
    bool setFormat(std::uint16_t vid, const std::string& format, Member member)
    {
        if (format.size() > formatLengthMax)
            return false;
        if (format.empty() && find(vid) == nullptr)
            return true;
        if (!add(vid))
            return false;
        member(records[vid]) = format;
        removeIfSilent(vid);
        return true;
    }

    void removeIfSilent(std::uint16_t vid)
    {
        Record& record = records[vid];
        if (record.mode() == Record::noMode && record.idFormat().empty() && record.remoteIdFormat.empty())
            records.erase(vid);
    }

    Map records;
};
