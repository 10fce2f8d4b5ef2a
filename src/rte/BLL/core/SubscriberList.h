#pragma once

#include <mutex>
#include <utility>
#include <vector>

#include <boost/function.hpp>

/**
 * Subscribers of one event, called in the order of their subscription on the caller's thread. Subscribing is
 * allowed while another thread distributes: a distribution works on the list as it stood at its start.
 */
template <typename Signature>
class SubscriberList
{
public:
    using Subscriber = boost::function<Signature>;

    void push_back(Subscriber subscriber)
    {
        const std::lock_guard guard(leaf);
        list.push_back(std::move(subscriber));
    }

    [[nodiscard]] std::vector<Subscriber> snapshot() const
    {
        const std::lock_guard guard(leaf);
        return list;
    }

private:
    mutable std::mutex leaf; ///< nothing is taken or called while it is held
    std::vector<Subscriber> list;
};
