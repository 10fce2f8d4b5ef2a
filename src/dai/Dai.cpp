#include "dai/Dai.h"

Dai::Dai() : BLEntity("dai"), mngProxy("Dai_fun") {}

bool Dai::start() { return mngProxy.start(); }

bool Dai::applyDefaultSettings() { return false; }

bool Dai::stop()
{
    mngProxy.stop(false);
    return true;
}
