#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace quoxelin::testing {

inline int openDescriptors() {
    int count = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor)
        count += ::fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
    return count;
}

/// While it exists, the program can open only so many more files.
class RoomForDescriptors {
  public:
    explicit RoomForDescriptors(int room) {
        const int firstFree = ::dup(STDERR_FILENO);
        ::close(firstFree);
        ::getrlimit(RLIMIT_NOFILE, &before);
        rlimit limit = before;
        limit.rlim_cur = static_cast<rlim_t>(firstFree + room);
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    RoomForDescriptors(const RoomForDescriptors&) = delete;
    RoomForDescriptors& operator=(const RoomForDescriptors&) = delete;
    ~RoomForDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before); }

  private:
    rlimit before = {};
};

} // namespace quoxelin::testing
