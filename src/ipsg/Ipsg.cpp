#include "ipsg/Ipsg.h"

Ipsg::Ipsg() : BLEntity("ipsg"), mngProxy("Ipsg_fun") {}

bool Ipsg::start() { return mngProxy.start(); }

bool Ipsg::applyDefaultSettings() { return false; }

bool Ipsg::stop()
{
    mngProxy.stop(false);
    return true;
}
