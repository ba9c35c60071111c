#include "Tests/EndToEnd/torture/FailingCalls.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace quoxelin::failing {

namespace {

std::string_view chosen;
std::size_t failingCall = 0;
std::atomic<std::size_t> ownCount = 0, blocks = 0;
std::atomic<std::size_t>* calls = &ownCount;

bool fails(std::string_view function) {
    if (function != chosen || ++*calls != failingCall)
        return false;
    errno = ENOBUFS;
    return true;
}

template <typename... Values>
long orSystemCall(const char* function, long number, Values... values) {
    return fails(function) ? -1 : ::syscall(number, values...);
}

template <typename... Values>
long onDescriptor(const char* function, long number, int descriptor, Values... values) {
    return descriptor <= STDERR_FILENO ? ::syscall(number, descriptor, values...)
                                       : orSystemCall(function, number, descriptor, values...);
}

template <typename Function>
Function real(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace

void choose(std::string_view function, std::size_t number) {
    chosen = function;
    *calls = 0;
    failingCall = number;
}

void countIn(std::atomic<std::size_t>& place) {
    calls = &place;
}

std::size_t stop() {
    chosen = {};
    return *calls;
}

std::size_t blocksInUse() {
    return blocks;
}

} // namespace quoxelin::failing

using namespace quoxelin::failing;

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) {
    void* const block = fails("malloc") ? nullptr : __libc_malloc(size);
    blocks += block ? 1 : 0;
    return block;
}

void* calloc(std::size_t count, std::size_t size) {
    void* const block = fails("malloc") ? nullptr : __libc_calloc(count, size);
    blocks += block ? 1 : 0;
    return block;
}

void* realloc(void* block, std::size_t size) {
    if (fails("malloc"))
        return nullptr;
    blocks += block ? 0 : 1;
    return __libc_realloc(block, size);
}

void free(void* block) {
    blocks -= block ? 1 : 0;
    __libc_free(block);
}

int socket(int domain, int type, int protocol) {
    return static_cast<int>(orSystemCall("socket", SYS_socket, domain, type, protocol));
}

int connect(int descriptor, const sockaddr* address, socklen_t length) {
    return static_cast<int>(orSystemCall("connect", SYS_connect, descriptor, address, length));
}

ssize_t read(int descriptor, void* into, std::size_t size) {
    return onDescriptor("read", SYS_read, descriptor, into, size);
}

ssize_t write(int descriptor, const void* bytes, std::size_t size) {
    return onDescriptor("write", SYS_write, descriptor, bytes, size);
}

ssize_t send(int descriptor, const void* bytes, std::size_t size, int flags) {
    return orSystemCall("send", SYS_sendto, descriptor, bytes, size, flags, nullptr, 0);
}

int close(int descriptor) {
    const bool isFailing = fails("close"); // the descriptor is closed nevertheless
    const long result = ::syscall(SYS_close, descriptor);
    return isFailing ? -1 : static_cast<int>(result);
}

int openat(int directory, const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, mode_t);
    va_end(rest);
    return static_cast<int>(orSystemCall("open", SYS_openat, directory, path, flags, mode));
}

int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, mode_t);
    va_end(rest);
    return openat(AT_FDCWD, path, flags, mode);
}

int fstat(int descriptor, struct stat* into) noexcept {
    return static_cast<int>(orSystemCall("fstat", SYS_fstat, descriptor, into));
}

std::FILE* fopen(const char* path, const char* mode) {
    static const auto open = real<decltype(&fopen)>("fopen");
    return fails("open") ? nullptr : open(path, mode);
}

int fclose(std::FILE* file) {
    static const auto close = real<decltype(&fclose)>("fclose");
    const bool isFailing = fails("close");
    const int result = close(file);
    return isFailing ? EOF : result;
}
}
