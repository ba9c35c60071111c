#include "Helper/Children.h"

#include "Helper/Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <glib-unix.h>
#include <sys/ioctl.h>

namespace quoxelin::helper {

class Children::Child {
  public:
    Child(Children& owner, Spawned spawned, Finished finished)
        : owner(owner), output(std::move(spawned.output)), finished(std::move(finished)) {
        outputSource = g_unix_fd_add(
            output.get(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR),
            [](int, GIOCondition, gpointer self) { return static_cast<Child*>(self)->readable(); },
            this);
        processSource = g_child_watch_add(
            spawned.process, [](GPid, int, gpointer self) { static_cast<Child*>(self)->ended(); },
            this);
    }

    ~Child() {
        for (const auto source : {outputSource, processSource})
            if (source != 0)
                g_source_remove(source);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

  private:
    gboolean readable() {
        if (read(chunk.size()) != Progress::closed)
            return G_SOURCE_CONTINUE;
        outputSource = 0;
        output.reset();
        if (processSource == 0)
            owner.forget(*this);
        return G_SOURCE_REMOVE;
    }

    void ended() {
        processSource = 0;
        readWhatIsThere();
        auto reply = std::exchange(finished, nullptr);
        reply(asUtf8(text, wasCut));
        text = {};
        if (outputSource == 0)
            owner.forget(*this);
        else
            owner.changed();
    }

    /// Not until the end, which may never come, and not until there is nothing more, which may
    /// never come either.
    void readWhatIsThere() {
        int present = 0;
        if (!output || ::ioctl(output.get(), FIONREAD, &present) != 0)
            return;
        for (auto left = static_cast<std::size_t>(present); left > 0;) {
            const auto before = received;
            if (read(std::min(left, chunk.size())) != Progress::more)
                return;
            left -= received - before;
        }
    }

    enum class Progress { more, nothing, closed };

    Progress read(std::size_t most) {
        const auto count = ::read(output.get(), chunk.data(), most);
        if (count == 0)
            return Progress::closed;
        if (count < 0)
            return errno == EINTR || errno == EAGAIN ? Progress::nothing : Progress::closed;
        received += static_cast<std::size_t>(count);
        if (finished == nullptr)
            return Progress::more;
        const auto kept = std::min(static_cast<std::size_t>(count), longestOutput - text.size());
        text.append(chunk.data(), kept);
        wasCut = wasCut || kept < static_cast<std::size_t>(count);
        return Progress::more;
    }

    Children& owner;
    FileDescriptor output;
    Finished finished;
    guint outputSource = 0;
    guint processSource = 0;
    std::array<char, 16384> chunk;
    std::string text;
    std::size_t received = 0;
    bool wasCut = false;
};

Children::Children(std::function<void()> changed) : changed(std::move(changed)) {}

Children::~Children() = default;

tl::expected<void, std::string> Children::run(const FileDescriptor& executable,
                                              const std::vector<std::string>& words,
                                              Finished finished) {
    auto spawned = spawn(executable, words);
    if (!spawned)
        return tl::unexpected(spawned.error());
    children.push_back(std::make_unique<Child>(*this, std::move(*spawned), std::move(finished)));
    return {};
}

void Children::forget(const Child& child) {
    children.remove_if([&](const auto& one) { return one.get() == &child; });
    changed();
}

} // namespace quoxelin::helper
