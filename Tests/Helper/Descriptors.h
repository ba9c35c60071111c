#pragma once

#include <sys/resource.h>
#include <unistd.h>

namespace quoxelin::helper {

/// The number that the next opened file gets.
inline int firstFreeDescriptor() {
    const int free = ::dup(STDERR_FILENO);
    ::close(free);
    return free;
}

/// Lets the program open only so many more files.
class RoomForDescriptors {
  public:
    explicit RoomForDescriptors(int room) {
        ::getrlimit(RLIMIT_NOFILE, &before);
        rlimit limit = before;
        limit.rlim_cur = static_cast<rlim_t>(firstFreeDescriptor() + room);
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    RoomForDescriptors(const RoomForDescriptors&) = delete;
    RoomForDescriptors& operator=(const RoomForDescriptors&) = delete;
    ~RoomForDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before); }

  private:
    rlimit before = {};
};

} // namespace quoxelin::helper
