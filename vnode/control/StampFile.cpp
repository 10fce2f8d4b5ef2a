#include "vnode/control/StampFile.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <utility>

namespace vnode::control {

/// What the file holds. The order of members and the magic are known to both sides, so they change together.
struct StampPage
{
    static constexpr std::uint64_t expectedMagic = 0x76'6E'73'74'61'6D'70'31; // "vnstamp1"

    std::atomic<std::uint64_t> magic;
    std::atomic<std::uint64_t> stamp;
    std::atomic<std::uint32_t> open; ///< 0: the node ended in order
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free, "the page is shared between processes");

namespace {

std::string problem(const std::string& path, const char* step)
{
    return path + ": " + step + ": " + std::strerror(errno);
}

/// A lock of the open file, not of the process. Readers can test it without taking it.
struct flock wholeFile(short type)
{
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

} // namespace

std::string stampPathOf(const std::string& socketPath) { return socketPath + ".gen"; }

MappedStamp::MappedStamp(MappedStamp&& other) noexcept : page(std::exchange(other.page, nullptr)) {}

MappedStamp& MappedStamp::operator=(MappedStamp&& other) noexcept
{
    std::swap(page, other.page);
    return *this;
}

MappedStamp::~MappedStamp()
{
    if (page != nullptr)
        ::munmap(page, sizeof(StampPage));
}

bool MappedStamp::map(int fd, bool writable)
{
    void* address =
        ::mmap(nullptr, sizeof(StampPage), writable ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, fd, 0);
    if (address == MAP_FAILED)
        return false;
    *this = MappedStamp();
    page = static_cast<StampPage*>(address);
    return true;
}

StampPublisher::~StampPublisher()
{
    if (mapping.get() == nullptr)
        return;
    mapping.get()->open.store(0, std::memory_order_release);
    ::unlink(path.c_str());
}

bool StampPublisher::open(const std::string& filePath, std::string& reason)
{
    UniqueFd fd(::open(filePath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!fd) {
        reason = problem(filePath, "open");
        return false;
    }
    struct flock lock = wholeFile(F_WRLCK);
    if (::fcntl(fd.get(), F_OFD_SETLK, &lock) != 0) {
        reason = filePath + ": another virtual node serves this socket";
        return false;
    }
    // Never truncated: readers that have the page mapped would get SIGBUS.
    struct stat status = {};
    const bool large = ::fstat(fd.get(), &status) == 0 && status.st_size >= off_t{sizeof(StampPage)};
    if (!large && ::ftruncate(fd.get(), sizeof(StampPage)) != 0) {
        reason = problem(filePath, "ftruncate");
        return false;
    }
    if (!mapping.map(fd.get(), true)) {
        reason = problem(filePath, "mmap");
        return false;
    }
    path = filePath;
    file = std::move(fd);
    StampPage& page = *mapping.get();
    if (page.magic.load() == StampPage::expectedMagic)
        base = page.stamp.load();
    publish(0);
    page.open.store(1);
    page.magic.store(StampPage::expectedMagic);
    return true;
}

void StampPublisher::publish(std::uint64_t generation)
{
    published = base + 1 + generation;
    mapping.get()->stamp.store(published, std::memory_order_release);
}

std::optional<std::uint64_t> StampReader::stamp() const
{
    const StampPage* page = mapping.get();
    if (page == nullptr || !publisherLives || page->open.load(std::memory_order_acquire) == 0)
        return std::nullopt;
    return page->stamp.load(std::memory_order_acquire);
}

bool StampReader::isCurrent() const
{
    struct stat mapped = {};
    struct stat named = {};
    return file && ::fstat(file.get(), &mapped) == 0 && ::stat(path.c_str(), &named) == 0 &&
           mapped.st_dev == named.st_dev && mapped.st_ino == named.st_ino;
}

void StampReader::revalidate()
{
    if (!isCurrent()) {
        mapping = MappedStamp();
        file.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        struct stat status = {};
        if (!file || ::fstat(file.get(), &status) != 0 || status.st_size < off_t{sizeof(StampPage)} ||
            !mapping.map(file.get(), false) || mapping.get()->magic.load() != StampPage::expectedMagic) {
            mapping = MappedStamp();
            file.reset();
        }
    }
    // A killed node could not mark the page as closed, but the kernel has dropped its lock.
    struct flock lock = wholeFile(F_RDLCK);
    publisherLives = file && ::fcntl(file.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

} // namespace vnode::control
