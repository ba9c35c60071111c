#pragma once

#include_next <spawn.h>

// macOS's additional flags.
#define POSIX_SPAWN_START_SUSPENDED 0x0080
#define POSIX_SPAWN_CLOEXEC_DEFAULT 0x4000

#ifdef __cplusplus
extern "C"
#endif
    int
    stage_posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                      const posix_spawnattr_t* attributes, char* const arguments[],
                      char* const environment[]);
/// Keeps the flags separately, because the library refuses unknown ones.
#ifdef __cplusplus
extern "C"
#endif
    int
    stage_posix_spawnattr_setflags(posix_spawnattr_t* attributes, short flags);
#define posix_spawn stage_posix_spawn
#define posix_spawnattr_setflags stage_posix_spawnattr_setflags
