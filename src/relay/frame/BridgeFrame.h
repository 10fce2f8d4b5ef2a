#pragma once

#include "log/LogImpl.h"
#include "relay/frame/FrameOwner.h"
#include "wire/Bytes.h"
#include "wire/Ethernet.h"
#include "wire/FrameRecord.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The texts in which the views of the families differ.
struct FrameViewTexts
{
    const char* getterClass;           ///< class name in the missing-header texts of getters
    const char* setterClass;           ///< the same for setters and rewriting operations
    const char* noRecord;              ///< whole text of isValid() without a record
    LogImpl::logLevel_t noRecordLevel; ///< and its level
};

/// Where the headers start, counted from the Ethernet header; 0: not looked for yet, or not there.
struct HeaderPositions
{
    std::uint16_t ip = 0;
    std::uint16_t udp = 0;
    std::uint16_t dhcp = 0; ///< one byte of the message has come at least
};

/**
 * One frame as the bridge delivers it: 2048 bytes of storage that begin with the record, followed by the
 * Ethernet frame. What the views of all families share: storage and bounds, record, Ethernet header, tags.
 *
 * Where the headers stand is found once for a frame and kept (HeaderPositions). Receiving forgets it, and so
 * does each edit that writes a tag or changes the size. Whoever writes into the buffer from outside receives
 * the frame anew (load(), setReceived()).
 *
 * Lengths inside a frame can lie. Getters answer what the frame claims; everything that walks, sums, copies,
 * moves or sends is held inside receivedSize(). Bytes behind it are kept zero, so that neither a short frame
 * nor a grown one shows anything of an earlier frame.
 *
 * The accessors are called some fifty times for a frame: what they take is inline.
 *
 * No lock of its own: used on the frame thread, under the engine's locks.
 */
class BridgeFrame
{
public:
    static constexpr std::size_t capacity = 2048;

    zobridge_frame_info* frameInfo;   ///< start of buffer; null: no frame
    std::vector<std::uint8_t> buffer; ///< capacity bytes, never resized
    /// Gates the debug texts of the view. Set by a debug word on another thread, hence atomic.
    std::atomic<bool> debugEnabled{true};
    const FrameOwner* impl; ///< the owning engine; null silences debug texts and finds no interface

    BridgeFrame(const BridgeFrame&) = delete;
    BridgeFrame& operator=(const BridgeFrame&) = delete;

    // Filling and sending

    /// Before each receive: forgets the frame (zeroing what it had used) and answers the whole buffer to read
    /// into.
    [[nodiscard]] std::span<std::uint8_t> prepareReceive();
    /// After it: that many bytes have come. Clamped to the buffer.
    void setReceived(std::size_t count);
    /// Both in one step from a copy of record and frame; false (and no frame) if it does not fit.
    bool load(std::span<const std::uint8_t> recordAndFrame);
    /// Bytes of record and frame that are really there, after all edits.
    [[nodiscard]] std::size_t receivedSize() const { return receivedBytes; }
    [[nodiscard]] std::span<const std::uint8_t> received() const;
    /// What may leave through the pseudo device: full_size bytes from the record on, as far as they are
    /// there.
    [[nodiscard]] std::span<const std::uint8_t> bytesToSend() const
    {
        if (frameInfo == nullptr)
            return {};
        return {storage(), std::min<std::size_t>(frameInfo->full_size, receivedBytes)};
    }

    // Record

    bool isValid() const { return frameInfo != nullptr || tellNoRecord(); }
    std::uint16_t getFrameVlan() const
    {
        return isValid() ? wire::vlanIdOf(frameInfo->vlan_tag1_nf) : wire::noVlan;
    }
    std::uint16_t getFrameCVlan() const
    {
        return isValid() ? wire::vlanIdOf(frameInfo->vlan_tag2_nf) : wire::noVlan;
    }
    std::string getFrameSrcInterfaceName() const;
    std::uint32_t getFrameSrcInterfaceId() const { return isValid() ? frameInfo->input_dev_idx : 0; }
    std::uint32_t getFrameFullSize() const { return isValid() ? frameInfo->full_size : 0; }
    void setFrameDstInterfaceName(std::string_view name);
    void setFrameDstInterfaceIdx(std::uint32_t index);

    // Ethernet header

    /// Null unless the 14 bytes of the header have come.
    const std::uint8_t* getEthHeader() const;
    bool isEthFieldDestEq(const std::uint8_t* mac) const;
    void setEthFieldDest(const std::uint8_t* mac);
    /// Writes the outer VLAN into the record and over the word at 14 of the frame, tag or not.
    void setFrameDstVlan(std::uint16_t vid);

protected:
    enum class Layer { ethernet, ip, udp, dhcp };

    BridgeFrame(const FrameViewTexts& viewTexts, const FrameOwner* owner);
    ~BridgeFrame() = default;

    /// The sink for debug texts, or null when nothing has to be formatted.
    [[nodiscard]] const DebugSink* debug() const
    {
        const bool wanted = debugTextsBuilt && impl != nullptr &&
                            debugEnabled.load(std::memory_order_relaxed) && impl->wantsDebugText();
        return wanted ? impl : nullptr;
    }
    /// Debug text of a getter (or setter) that misses a header.
    void missing(Layer layer, const char* function, int line) const;
    void missingForSetter(Layer layer, const char* function, int line) const;

    /// From the Ethernet header to the last byte received; empty if the header is not there, which is said on
    /// behalf of the calling accessor.
    [[nodiscard]] wire::Bytes ethernet(const char* function = __builtin_FUNCTION(),
                                       int line = __builtin_LINE()) const
    {
        const auto window = isValid() ? ethernetOrNothing() : wire::Bytes();
        if (window.size() == 0)
            missing(Layer::ethernet, function, line);
        return window;
    }
    [[nodiscard]] wire::Bytes ethernetForSetter(const char* function = __builtin_FUNCTION(),
                                                int line = __builtin_LINE()) const;
    /// From the Ethernet header to the end of the storage, for edits that move the tail.
    [[nodiscard]] wire::Bytes ethernetStorage() const;
    /// True if the interface on which the frame came in is known and not on the client side.
    [[nodiscard]] bool cameFromNetworkSide() const;

    // Growing and shrinking. Edits first ask for room, then move bytes, then tell.
    [[nodiscard]] bool hasRoomFor(std::size_t growth) const { return growth <= capacity - receivedBytes; }
    /// The frame has become longer by bytes that the edit has written; full_size follows.
    void grown(std::size_t growth);
    /// The frame has become shorter; full_size follows and the bytes behind its new end are zeroed.
    void shrunk(std::size_t reduction);
    /// An edit wrote outside of the frame, up to this offset of the buffer.
    void touched(std::size_t end);

    /// VLAN id into the record and the whole tag control word over the frame's word at 14, in a window that
    /// has an Ethernet header.
    void writeOuterVlan(std::uint16_t vid, wire::Bytes ethernet);
    [[nodiscard]] std::uint8_t* storage() const { return reinterpret_cast<std::uint8_t*>(frameInfo); }
    /// From @p position behind the Ethernet header's start, which lies inside, to the last byte received.
    [[nodiscard]] wire::Bytes windowFrom(std::size_t position) const
    {
        const std::size_t start = wire::recordSize + position;
        return {storage() + start, receivedBytes - start};
    }
    /// What was found of the frame that stands here; a lookup, so it is no part of the frame's value.
    mutable HeaderPositions positions;

private:
    [[nodiscard]] bool tellNoRecord() const; ///< false
    [[nodiscard]] wire::Bytes ethernetOrNothing() const
    {
        if (frameInfo == nullptr || receivedBytes < wire::recordSize + wire::ethernetHeaderSize)
            return {};
        return {storage() + wire::recordSize, receivedBytes - wire::recordSize};
    }
    void reportMissing(const char* viewClass, Layer layer, const char* function, int line) const;

    const FrameViewTexts& texts;
    std::size_t receivedBytes = 0;
    std::size_t dirty = 0; ///< bytes from here on are zero
};
