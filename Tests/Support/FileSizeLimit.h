#pragma once

#include <csignal>
#include <sys/resource.h>

namespace quoxelin::testing {

/// While it exists, no file can become longer than that many bytes.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t longest) : handler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit{longest, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

  private:
    void (*handler)(int);
    rlimit before = {};
};

} // namespace quoxelin::testing
