#include "Platform/Linux/Services/LinuxServiceManagement.h"

#include "Platform/Linux/Services/SystemBusConversation.h"

#include <future>
#include <glib/gstdio.h>
#include <optional>

namespace quoxelin {

namespace {

constexpr auto longestWait = std::chrono::milliseconds(500);

constexpr const char* entryName = "com.quoxelin.desktop.desktop";

// As the framework numbers them.
enum Code : std::int64_t { notPermitted = 1, internalFailure = 2, jobNotFound = 6 };

tl::unexpected<Error> failure(Code code, const std::string& text) {
    return tl::unexpected(Error{"SMAppServiceErrorDomain", code, text});
}

tl::unexpected<Error> failure(GError* error) {
    const SystemBusConversation::Owned<GError> owned(error);
    return failure(internalFailure, error->message);
}

int raw(SMAppServiceStatus status) {
    return static_cast<int>(status);
}

/// The application among the programs that start with the user's session.
class LoginItem final : public SMAppService {
  public:
    LoginItem(std::filesystem::path original, std::filesystem::path entry)
        : original(std::move(original)), entry(std::move(entry)) {}

    Result<void, Error> registerService() override {
        switch (current()) {
        case SMAppServiceStatus::enabled:
        case SMAppServiceStatus::notRegistered:
        case SMAppServiceStatus::notFound:
            return write();
        case SMAppServiceStatus::requiresApproval:
            return failure(notPermitted, entry.string() + " has been switched off");
        }
        return {};
    }

    Result<void, Error> unregisterService() override {
        if (g_unlink(entry.c_str()) == 0)
            return {};
        const int reason = errno;
        return failure(reason == ENOENT ? jobNotFound : internalFailure,
                       entry.string() + ": " + g_strerror(reason));
    }

    int status() const override { return raw(current()); }

  private:
    SMAppServiceStatus current() const {
        const std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)> file(g_key_file_new(),
                                                                          &g_key_file_unref);
        if (g_key_file_load_from_file(file.get(), entry.c_str(), G_KEY_FILE_NONE, nullptr) == FALSE)
            return SMAppServiceStatus::notRegistered;
        const auto is = [&](const char* key, bool absent) {
            const std::unique_ptr<char, decltype(&g_free)> value(
                g_key_file_get_value(file.get(), G_KEY_FILE_DESKTOP_GROUP, key, nullptr), &g_free);
            return value == nullptr ? absent : g_str_equal(value.get(), "true") != FALSE;
        };
        const bool isOff = is("Hidden", false) || !is("X-GNOME-Autostart-enabled", true);
        return isOff ? SMAppServiceStatus::requiresApproval : SMAppServiceStatus::enabled;
    }

    /// Whole or not at all: who reads it meanwhile finds the old one.
    Result<void, Error> write() {
        GError* error = nullptr;
        char* text = nullptr;
        gsize length = 0;
        if (g_file_get_contents(original.c_str(), &text, &length, &error) == FALSE)
            return failure(error);
        const std::unique_ptr<char, decltype(&g_free)> owned(text, &g_free);
        if (g_mkdir_with_parents(entry.parent_path().c_str(), 0700) != 0)
            return failure(internalFailure,
                           entry.parent_path().string() + ": " + g_strerror(errno));
        if (g_file_set_contents_full(entry.c_str(), text, static_cast<gssize>(length),
                                     G_FILE_SET_CONTENTS_CONSISTENT, 0644, &error) == FALSE)
            return failure(error);
        return {};
    }

    const std::filesystem::path original;
    const std::filesystem::path entry;
};

/// The helper behind the property list that the application knows it by.
class HelperService final : public SMAppService {
  public:
    /// An empty name stands for a property list that nobody knows.
    HelperService(BusThread& thread, std::string service)
        : thread(thread), service(std::move(service)) {}

    Result<void, Error> registerService() override {
        const auto found = ask([service = service](auto conversation, auto answer) {
            conversation->findService(service, answer);
        });
        if (!found)
            return failure(internalFailure, "The system bus does not answer.");
        if (!*found)
            return failure(jobNotFound, "The system bus knows no service " + service + ".");
        return {};
    }

    Result<void, Error> unregisterService() override {
        return failure(notPermitted, "The service " + service + " goes with its installation.");
    }

    int status() const override {
        // In one conversation, within one wait.
        const auto allowed = ask([service = service](auto conversation, auto answer) {
            conversation->findService(service, [&bus = *conversation, answer](bool isThere) {
                if (isThere)
                    askPolkit(bus, answer);
                else
                    answer(std::nullopt);
            });
        });
        if (!allowed)
            return raw(SMAppServiceStatus::notFound);
        return raw(*allowed ? SMAppServiceStatus::enabled : SMAppServiceStatus::requiresApproval);
    }

  private:
    using Answer = std::function<void(std::optional<bool>)>;
    using Question =
        std::function<void(const std::shared_ptr<SystemBusConversation>&, const Answer&)>;

    static void askPolkit(SystemBusConversation& conversation, std::function<void(bool)> answer) {
        GVariantBuilder subject;
        g_variant_builder_init(&subject, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&subject, "{sv}", "name",
                              g_variant_new_string(conversation.name().c_str()));
        conversation.call(
            {"org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
             "org.freedesktop.PolicyKit1.Authority", "CheckAuthorization", "((bba{ss}))"},
            g_variant_new("((sa{sv})s@a{ss}us)", "system-bus-name", &subject,
                          "com.quoxelin.desktop.helper.run",
                          g_variant_new_array(G_VARIANT_TYPE("{ss}"), nullptr, 0), guint32{0}, ""),
            [answer = std::move(answer)](const auto& reply) {
                gboolean isAllowed = FALSE;
                if (reply)
                    g_variant_get(reply->get(), "((bba{ss}))", &isAllowed, nullptr, nullptr);
                answer(isAllowed != FALSE);
            });
    }

    /// Nothing also where the bus does not answer in time.
    std::optional<bool> ask(Question question) const {
        struct Asked {
            std::promise<std::optional<bool>> answer;
            std::shared_ptr<SystemBusConversation> conversation;
        };
        const auto asked = std::make_shared<Asked>();
        auto answer = asked->answer.get_future();
        thread.perform([asked, question = std::move(question)] {
            SystemBusConversation::open([asked, question](auto opened) {
                if (!opened)
                    return asked->answer.set_value(std::nullopt);
                asked->conversation = std::move(*opened);
                question(asked->conversation, [asked](std::optional<bool> value) {
                    asked->answer.set_value(value);
                    asked->conversation = nullptr;
                });
            });
        });
        if (answer.wait_for(longestWait) == std::future_status::ready)
            return answer.get();
        thread.perform([asked] { asked->conversation = nullptr; });
        return std::nullopt;
    }

    BusThread& thread;
    const std::string service;
};

} // namespace

std::filesystem::path LinuxServiceManagement::userAutostartDirectory() {
    return std::filesystem::path(g_get_user_config_dir()) / "autostart";
}

LinuxServiceManagement::LinuxServiceManagement(const std::filesystem::path& bundle,
                                               std::filesystem::path autostartDirectory)
    : bundledEntry(bundle / "Contents" / "Library" / "LoginItems" / entryName),
      autostartDirectory(std::move(autostartDirectory)) {}

std::unique_ptr<SMAppService> LinuxServiceManagement::mainApp() {
    return std::make_unique<LoginItem>(bundledEntry, autostartDirectory / entryName);
}

std::unique_ptr<SMAppService> LinuxServiceManagement::daemon(const std::string& plistName) {
    const bool isKnown = plistName == "com.quoxelin.desktop.helper.plist";
    return std::make_unique<HelperService>(thread, isKnown ? "com.quoxelin.desktop.Helper" : "");
}

} // namespace quoxelin
