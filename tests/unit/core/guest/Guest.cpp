#include "rte/BLL/core/BLLManager.h"

// The manager as seen from a loaded library, and a mark that its static construction ran.

extern "C" void* guestSeesManager() { return &singleton<BLLManager>::instance(); }

namespace {
struct Mark
{
    Mark() { singleton<BLLManager>::instance().setBllFeature("guest", false, nullptr); }
};
const Mark mark;
} // namespace
