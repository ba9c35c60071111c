#pragma once

#include <unistd.h>
#include <utility>

namespace quoxelin::helper {

/// Owns a descriptor.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor(std::exchange(other.descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            descriptor = std::exchange(other.descriptor, -1);
        }
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    void reset() {
        if (descriptor >= 0)
            ::close(descriptor);
        descriptor = -1;
    }

    explicit operator bool() const { return descriptor >= 0; }
    int get() const { return descriptor; }

  private:
    int descriptor = -1;
};

} // namespace quoxelin::helper
