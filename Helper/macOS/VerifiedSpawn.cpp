#include "Helper/macOS/VerifiedSpawn.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

namespace quoxelin::helper {

namespace {

class Attributes {
  public:
    Attributes() { ::posix_spawnattr_init(&value); }
    ~Attributes() { ::posix_spawnattr_destroy(&value); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    posix_spawnattr_t value;
};

class FileActions {
  public:
    FileActions() { ::posix_spawn_file_actions_init(&value); }
    ~FileActions() { ::posix_spawn_file_actions_destroy(&value); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    posix_spawn_file_actions_t value;
};

FileDescriptor fileWithoutName() {
    char path[] = "/tmp/quoxelin-output.XXXXXX";
    FileDescriptor file(::mkstemp(path));
    if (file)
        ::unlink(path);
    return file;
}

} // namespace

tl::expected<Spawned, std::string>
spawnVerified(const std::vector<std::string>& words,
              const std::function<tl::expected<void, std::string>(pid_t)>& verify) {
    static char path[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
    static char language[] = "LANG=C.UTF-8";
    static char* const environment[] = {path, language, nullptr};

    auto output = fileWithoutName();
    if (!output)
        return tl::unexpected(std::string("no output: ") + std::strerror(errno));
    FileActions actions;
    ::posix_spawn_file_actions_addopen(&actions.value, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions.value, output.get(), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions.value, output.get(), STDERR_FILENO);
    ::posix_spawn_file_actions_addchdir_np(&actions.value, "/");

    Attributes attributes;
    // These are macros on a Mac.
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    ::posix_spawnattr_setsigdefault(&attributes.value, &all);
    ::posix_spawnattr_setsigmask(&attributes.value, &none);
    ::posix_spawnattr_setflags(&attributes.value,
                               POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID |
                                   POSIX_SPAWN_CLOEXEC_DEFAULT | POSIX_SPAWN_START_SUSPENDED);
    std::vector<char*> arguments;
    for (const auto& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);

    pid_t process = -1;
    if (const int reason = ::posix_spawn(&process, arguments.front(), &actions.value,
                                         &attributes.value, arguments.data(), environment);
        reason != 0)
        return tl::unexpected(std::string(std::strerror(reason)));
    if (const auto verified = verify(process); !verified) {
        ::kill(process, SIGKILL);
        while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
        }
        return tl::unexpected(verified.error());
    }
    ::kill(process, SIGCONT);
    return Spawned{process, std::move(output)};
}

} // namespace quoxelin::helper
