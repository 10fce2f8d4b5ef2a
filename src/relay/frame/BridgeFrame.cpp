#include "relay/frame/BridgeFrame.h"

#include "log/LogText.h"
#include "relay/model/dhcpraInterface.h"

#include <algorithm>
#include <cstring>

#include <arpa/inet.h>

BridgeFrame::BridgeFrame(const FrameViewTexts& viewTexts, const FrameOwner* owner)
    : buffer(capacity), impl(owner), texts(viewTexts)
{
    frameInfo = reinterpret_cast<zobridge_frame_info*>(buffer.data());
}

// Filling and sending

std::span<std::uint8_t> BridgeFrame::prepareReceive()
{
    if (frameInfo == nullptr)
        return {};
    // The record is always touched: its setters work on a frame of any size.
    std::uint8_t* const start = storage();
    std::memset(start, 0, std::max(dirty, wire::recordSize));
    dirty = 0;
    receivedBytes = 0;
    positions = {};
    return {start, capacity};
}

void BridgeFrame::setReceived(std::size_t count)
{
    receivedBytes = std::min(count, capacity);
    touched(receivedBytes);
    positions = {};
}

bool BridgeFrame::load(std::span<const std::uint8_t> recordAndFrame)
{
    const auto target = prepareReceive();
    if (recordAndFrame.size() > target.size())
        return false;
    std::copy(recordAndFrame.begin(), recordAndFrame.end(), target.begin());
    setReceived(recordAndFrame.size());
    return true;
}

std::span<const std::uint8_t> BridgeFrame::received() const
{
    return {storage(), frameInfo == nullptr ? 0 : receivedBytes};
}

// Record

bool BridgeFrame::tellNoRecord() const
{
    logText(texts.noRecordLevel, texts.noRecord);
    return false;
}

std::string BridgeFrame::getFrameSrcInterfaceName() const
{
    return isValid() ? std::string(wire::recordName(frameInfo->input_dev)) : std::string();
}

void BridgeFrame::setFrameDstInterfaceName(std::string_view name)
{
    if (isValid())
        wire::setRecordName(frameInfo->output_dev, name);
}

void BridgeFrame::setFrameDstInterfaceIdx(std::uint32_t index)
{
    if (isValid())
        frameInfo->output_dev_idx = static_cast<std::uint16_t>(index);
}

// Ethernet header

const std::uint8_t* BridgeFrame::getEthHeader() const
{
    return isValid() ? ethernetOrNothing().data() : nullptr;
}

bool BridgeFrame::isEthFieldDestEq(const std::uint8_t* mac) const
{
    const auto address = ethernet().part(wire::macDestination, wire::macSize);
    return !address.empty() && std::memcmp(address.data(), mac, wire::macSize) == 0;
}

void BridgeFrame::setEthFieldDest(const std::uint8_t* mac)
{
    ethernetForSetter().put(wire::macDestination, {mac, wire::macSize});
}

void BridgeFrame::setFrameDstVlan(std::uint16_t vid)
{
    if (const auto header = ethernetForSetter(); header.size() != 0)
        writeOuterVlan(vid, header);
}

void BridgeFrame::writeOuterVlan(std::uint16_t vid, wire::Bytes ethernet)
{
    const std::uint16_t tag = wire::withVlanId(frameInfo->vlan_tag1_nf, vid);
    frameInfo->vlan_tag1_nf = tag;
    ethernet.putBe16(wire::outerTag, ntohs(tag));
    positions = {};
}

bool BridgeFrame::cameFromNetworkSide() const
{
    const auto id = static_cast<int>(getFrameSrcInterfaceId());
    const DebugSink* const sink = debug();
    if (sink)
        sink->log("\t dhcpraMessage::getOrigin(). getInterfaceById %d\n", id);
    const dhcpraInterface* const source =
        impl ? impl->getInterfaceById(static_cast<std::uint32_t>(id)) : nullptr;
    if (source == nullptr) {
        if (sink)
            sink->log("\t dhcpraMessage::getOrigin(). getInterfaceById %d, intf not found!!\n", id);
        return false;
    }
    const auto type = source->getType();
    return type != Interfaces::interfaceType::subscriber && type != Interfaces::interfaceType::pvc &&
           type != Interfaces::interfaceType::gem;
}

// Debug texts

void BridgeFrame::missing(Layer layer, const char* function, int line) const
{
    reportMissing(texts.getterClass, layer, function, line);
}

void BridgeFrame::missingForSetter(Layer layer, const char* function, int line) const
{
    reportMissing(texts.setterClass, layer, function, line);
}

void BridgeFrame::reportMissing(const char* viewClass, Layer layer, const char* function, int line) const
{
    const DebugSink* const sink = debug();
    if (sink == nullptr)
        return;
    static constexpr const char* headers[] = {"ethHeader", "ipHeader", "udpHeader", "dhcpHeader"};
    sink->log("%s::%s:%d: %s NULL pointer\n", viewClass, function, line, headers[static_cast<int>(layer)]);
}

// Windows

wire::Bytes BridgeFrame::ethernetForSetter(const char* function, int line) const
{
    const auto window = isValid() ? ethernetOrNothing() : wire::Bytes();
    if (window.size() == 0)
        missingForSetter(Layer::ethernet, function, line);
    return window;
}

wire::Bytes BridgeFrame::ethernetStorage() const
{
    if (frameInfo == nullptr)
        return {};
    return {storage() + wire::recordSize, capacity - wire::recordSize};
}

// Growing and shrinking

void BridgeFrame::grown(std::size_t growth)
{
    frameInfo->full_size += static_cast<std::uint32_t>(growth);
    // What was moved up to make room may include bytes behind the frame's end.
    touched(dirty + growth);
    setReceived(receivedBytes + growth);
}

void BridgeFrame::shrunk(std::size_t reduction)
{
    const std::size_t removed = std::min(reduction, receivedBytes);
    frameInfo->full_size -= static_cast<std::uint32_t>(reduction);
    receivedBytes -= removed;
    positions = {};
    std::memset(storage() + receivedBytes, 0, removed);
}

void BridgeFrame::touched(std::size_t end) { dirty = std::max(dirty, std::min(end, capacity)); }
