#pragma once

#include "vnode_control.h"

namespace vnode::control {

/// Filter of a record, for templates that want it as a constant.
template <typename Record>
using XdrFilter = bool_t (*)(XDR*, Record*);

/// A record that XDR decodes into, with the memory that decoding gave it.
template <typename Record, XdrFilter<Record> filter>
class Decoded
{
public:
    Decoded() = default;
    Decoded(const Decoded&) = delete;
    Decoded& operator=(const Decoded&) = delete;
    ~Decoded() { reset(); }

    /// To be called before it is decoded into again.
    void reset()
    {
        XDR xdrs{};
        xdrs.x_op = XDR_FREE;
        filter(&xdrs, &record);
        record = Record{};
    }

    Record* get() { return &record; }
    const Record& operator*() const { return record; }
    const Record* operator->() const { return &record; }

private:
    Record record{};
};

} // namespace vnode::control
