#include "selfdebug/AlternateStack.h"

#include <csignal>
#include <cstddef>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// The handler needs some 2 kB, unwinding another few; a frame of vector registers comes on top.
constexpr std::size_t stackSize = 65536;

class AlternateStack
{
public:
    AlternateStack() = default;
    AlternateStack(const AlternateStack&) = delete;
    AlternateStack& operator=(const AlternateStack&) = delete;
    ~AlternateStack()
    {
        if (area == nullptr)
            return;
        stack_t none{};
        none.ss_flags = SS_DISABLE;
        sigaltstack(&none, nullptr);
        munmap(area, guardSize() + stackSize);
    }

    bool install()
    {
        stack_t present{};
        if (sigaltstack(nullptr, &present) == 0 && (present.ss_flags & SS_DISABLE) == 0)
            return true;
        void* memory = mmap(nullptr, guardSize() + stackSize, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
        if (memory == MAP_FAILED)
            return false;
        mprotect(memory, guardSize(), PROT_NONE);
        stack_t own{};
        own.ss_sp = static_cast<char*>(memory) + guardSize();
        own.ss_size = stackSize;
        if (sigaltstack(&own, nullptr) != 0) {
            munmap(memory, guardSize() + stackSize);
            return false;
        }
        area = memory;
        return true;
    }

private:
    static std::size_t guardSize() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }

    void* area = nullptr;
};

} // namespace

bool useAlternateStack()
{
    thread_local AlternateStack stack;
    return stack.install();
}
