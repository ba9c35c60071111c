#pragma once

#include_next <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

static inline int pthread_main_np(void) {
    return syscall(SYS_gettid) == getpid();
}
