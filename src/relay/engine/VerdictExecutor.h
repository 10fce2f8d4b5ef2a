#pragma once

#include "relay/engine/Verdict.h"

/**
 * Acts on a verdict: one switch for both families. What each act takes is the family's to do.
 *
 * @tparam Executor derives from this and has pass(), discard(), sendToServers(), flood() and
 * sendToInterface(), each with the arguments of act(); change(), which makes the changes of a path first,
 * answers false if the frame cannot be made fit and has been dealt with.
 */
template <class Executor, class FamilyVerdict, class Frame>
class VerdictExecutor
{
public:
    void carryOut(const FamilyVerdict& verdict, Frame& frame)
    {
        auto& executor = static_cast<Executor&>(*this);
        if (!executor.change(verdict, frame))
            return;
        switch (verdict.act) {
        case Verdict::Act::nothing:
            return;
        case Verdict::Act::pass:
            return executor.pass(verdict, frame);
        case Verdict::Act::discard:
            return executor.discard(verdict, frame);
        case Verdict::Act::toServers:
            return executor.sendToServers(verdict, frame);
        case Verdict::Act::flood:
            return executor.flood(verdict, frame);
        case Verdict::Act::toInterface:
            return executor.sendToInterface(verdict, frame);
        }
    }

protected:
    VerdictExecutor() = default;
    ~VerdictExecutor() = default;
};
