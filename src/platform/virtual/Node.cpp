#include "platform/Node.h"

#include "platform/Scripter.h"
#include "platform/virtual/Reading.h"

#include <string>
#include <syslog.h>

using namespace platform::virtualNode;
using vnode::Operation;
using vnode::Picture;

int Network::getNetworkInfo(NetworkInfo* info)
{
    return read(Operation::networkInfo, [&](const Picture& picture) {
        if (info == nullptr || !picture.facts.mac)
            return false;
        *info = {*picture.facts.mac, picture.facts.ipv4.value_or(0)};
        return true;
    });
}

int Ports::getBoardType()
{
    const PictureReader picture = current().picture();
    return picture ? picture->facts.boardType : 0;
}

int ncfmGetMyBoardPos(std::uint8_t* slot)
{
    return read(Operation::boardPosition, [&](const Picture& picture) {
        if (slot == nullptr || !picture.facts.slot)
            return false;
        *slot = *picture.facts.slot;
        return true;
    });
}

int ncfmGetIpv6(ncfmIpv6* record)
{
    return read(Operation::ipv6Info, [&](const Picture& picture) {
        if (record == nullptr || !picture.facts.ipv6)
            return false;
        *record = {*picture.facts.ipv6, picture.facts.ipv6Gateway};
        return true;
    });
}

bool isActive(int option)
{
    const PictureReader picture = current().picture();
    return picture && picture->facts.options.contains(option);
}

void Syslogger::debugMessage(const char* text, int function)
{
    const std::string safe = text != nullptr ? text : "";
    syslog(LOG_DEBUG, "%s", safe.c_str());
    current().note("debugMessage " + std::to_string(function) + " " + safe);
}

Scripter::Scripter(const std::string& name) : scriptName(name) {}

Scripter::~Scripter() = default;

int servprofile::servProfileOnDhcpraPvcCidModeChange(std::uint32_t interfaceId, int mode)
{
    NodeAccess& node = current();
    node.note("pvcCidMode " + std::to_string(interfaceId) + " " + std::to_string(mode));
    return answer(node.readFault(Operation::serviceProfile));
}
