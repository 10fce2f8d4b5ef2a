#include "platform/virtual/RemotePicture.h"

#include "common/Clock.h"
#include "vnode/control/Wire.h"
#include "vnode/control/Xdr.h"

#include <chrono>
#include <mutex>
#include <optional>

namespace platform::virtualNode {

namespace {

using vnode::Picture;
using vnode::control::ControlClient;
using vnode::control::Decoded;

// A killed node is noticed after this time. The check takes system calls, so it is not made for each read.
constexpr std::chrono::seconds lookPeriod{1};

// If the configuration changes while its pages are fetched, it is fetched again, but not for ever.
constexpr int fetchTries = 5;

enum class Fetch { done, changed, failed };

Fetch fetchFacts(ControlClient& client, Picture& picture)
{
    Decoded<vnodeFactsReply, xdr_vnodeFactsReply> reply;
    if (client.call([&](CLIENT* handle) { return vnode_facts_1(reply.get(), handle); }) != 0)
        return Fetch::failed;
    auto facts = vnode::control::fromWire(reply->facts);
    if (!facts)
        return Fetch::failed;
    picture.generation = reply->stamp;
    picture.facts = std::move(*facts);
    return Fetch::done;
}

Fetch fetchInterfaces(ControlClient& client, Picture& picture)
{
    Decoded<vnodeInterfacePage, xdr_vnodeInterfacePage> page;
    for (u_int behind = 0;;) {
        page.reset();
        if (client.call([&](CLIENT* handle) { return vnode_interfaces_1(behind, page.get(), handle); }) != 0)
            return Fetch::failed;
        if (page->stamp != picture.generation)
            return Fetch::changed;
        for (u_int i = 0; i < page->rows.rows_len; ++i) {
            const auto row = vnode::control::fromWire(page->rows.rows_val[i]);
            if (!row)
                return Fetch::failed;
            picture.interfaces.put(*row);
            behind = row->id;
        }
        if (page->more == 0)
            return Fetch::done;
        if (page->rows.rows_len == 0)
            return Fetch::failed;
    }
}

Fetch fetchVlans(ControlClient& client, Picture& picture)
{
    Decoded<vnodeVlanPage, xdr_vnodeVlanPage> page;
    for (u_int behind = 0;;) {
        page.reset();
        if (client.call([&](CLIENT* handle) { return vnode_vlans_1(behind, page.get(), handle); }) != 0)
            return Fetch::failed;
        if (page->stamp != picture.generation)
            return Fetch::changed;
        for (u_int i = 0; i < page->rows.rows_len; ++i) {
            const vnodeVlan& row = page->rows.rows_val[i];
            if (row.id >= vnode::vlanIdCount)
                return Fetch::failed;
            vnode::Vlan& vlan = picture.vlans[static_cast<std::uint16_t>(row.id)];
            vlan.name = row.name;
            vlan.members.assign(row.members.members_val, row.members.members_val + row.members.members_len);
            behind = row.id;
        }
        if (page->more == 0)
            return Fetch::done;
        if (page->rows.rows_len == 0)
            return Fetch::failed;
    }
}

std::optional<Picture> fetchPicture(ControlClient& client)
{
    for (int i = 0; i < fetchTries; ++i) {
        Picture picture;
        Fetch outcome = fetchFacts(client, picture);
        if (outcome == Fetch::done)
            outcome = fetchInterfaces(client, picture);
        if (outcome == Fetch::done)
            outcome = fetchVlans(client, picture);
        if (outcome == Fetch::done)
            return picture;
        if (outcome == Fetch::failed)
            return std::nullopt;
    }
    return std::nullopt;
}

std::int64_t steadyNanoseconds()
{
    return std::chrono::nanoseconds(Clock::steady().time_since_epoch()).count();
}

} // namespace

PictureReader RemotePicture::read()
{
    if (steadyNanoseconds() < nextLook.load(std::memory_order_relaxed)) {
        std::shared_lock lock(mutex);
        if (isFresh())
            return {std::move(lock), copy};
    }
    {
        const std::unique_lock lock(mutex);
        refresh();
    }
    // A change since then is left to the next reader: the copy was right when this read began.
    std::shared_lock lock(mutex);
    return valid ? PictureReader(std::move(lock), copy) : PictureReader();
}

bool RemotePicture::isFresh() const { return valid && stamps.stamp() == copy.generation; }

void RemotePicture::refresh()
{
    stamps.revalidate();
    nextLook.store(steadyNanoseconds() + std::chrono::nanoseconds(lookPeriod).count(),
                   std::memory_order_relaxed);
    if (isFresh()) // also when another thread has just fetched it
        return;
    valid = false;
    auto fetched = fetchPicture(client);
    if (!fetched)
        return;
    copy = std::move(*fetched);
    valid = true;
}

void RemotePicture::apply(std::uint64_t stamp, const std::function<void(vnode::Registry&)>& change)
{
    const std::unique_lock lock(mutex);
    if (!valid || copy.generation + 1 != stamp)
        return;
    change(copy.interfaces);
    copy.generation = stamp;
}

} // namespace platform::virtualNode
