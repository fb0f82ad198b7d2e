#include "core/platform/named_event.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace veldane {
namespace {

constexpr off_t pageSize = 4096;
constexpr mode_t ownerOnly = 0600;

/// A file that another user laid there, or that its owner has not sized yet, is not to be mapped.
bool isEventOfThisUser(int file) {
    struct stat facts;
    return fstat(file, &facts) == 0 && facts.st_uid == geteuid() && facts.st_size >= pageSize;
}

}  // namespace

std::shared_ptr<NamedEvent> NamedEvent::create(const std::string& name) {
    const std::string path = "/" + name;
    // A name carries a living process's id, so whatever has it already was left by a dead one.
    shm_unlink(path.c_str());
    const int file = shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, ownerOnly);
    if (file < 0) return nullptr;
    // Reserved, not just sized: on a full file system the first touch of the page would be a fault.
    std::shared_ptr<NamedEvent> event;
    if (posix_fallocate(file, 0, pageSize) == 0) event = map(path, file);
    close(file);
    if (!event) shm_unlink(path.c_str());
    return event;
}

std::shared_ptr<NamedEvent> NamedEvent::open(const std::string& name) {
    const std::string path = "/" + name;
    const int file = shm_open(path.c_str(), O_RDWR, 0);
    if (file < 0) return nullptr;
    std::shared_ptr<NamedEvent> event;
    if (isEventOfThisUser(file)) event = map(path, file);
    close(file);
    return event;
}

std::shared_ptr<NamedEvent> NamedEvent::map(std::string path, int file) {
    void* page = mmap(nullptr, pageSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (page == MAP_FAILED) return nullptr;
    return std::shared_ptr<NamedEvent>(new NamedEvent(std::move(path), page));
}

NamedEvent::~NamedEvent() {
    munmap(page_, pageSize);
}

void NamedEvent::remove() {
    shm_unlink(path_.c_str());
}

}  // namespace veldane
