#include "Platform/Linux/Services/NetworkManagerPlugin.h"

#include "Platform/Linux/FolderBundle.h"
#include "Platform/Linux/Services/KeyFile.h"
#include "Platform/Linux/Services/Pkexec.h"

#include <QProcess>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <system_error>
#include <unistd.h>

namespace quoxelin {

namespace {

void finish(const OSSystemExtensionRequest& request) {
    if (const auto delegate = request.delegate.lock())
        delegate->didFinishWithResult(request,
                                      static_cast<int>(OSSystemExtensionRequestResult::completed));
}

void fail(const OSSystemExtensionRequest& request, OSSystemExtensionError code,
          const std::string& description) {
    if (const auto delegate = request.delegate.lock())
        delegate->didFailWithError(
            request, {OSSystemExtensionErrorDomain, static_cast<int>(code), description});
}

/// Empty if the file cannot be read.
std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

NetworkManagerPlugin::~NetworkManagerPlugin() {
    // A running installation continues without us.
    for (const auto& [identifier, installation] : installations)
        installation.process->disconnect(this);
}

void NetworkManagerPlugin::submitRequest(const OSSystemExtensionRequest& request) {
    QMetaObject::invokeMethod(
        this,
        [this, request] {
            switch (request.kind) {
            case OSSystemExtensionRequest::Kind::activation:
                activate(request);
                break;
            case OSSystemExtensionRequest::Kind::properties:
                answerProperties(request);
                break;
            }
        },
        Qt::QueuedConnection);
}

void NetworkManagerPlugin::answerProperties(const OSSystemExtensionRequest& request) const {
    std::vector<OSSystemExtensionProperties> found;
    if (auto one = installed(request.identifier))
        found.push_back(std::move(*one));
    if (const auto delegate = request.delegate.lock())
        delegate->foundProperties(request, found);
}

void NetworkManagerPlugin::activate(const OSSystemExtensionRequest& request) {
    const auto running = installations.find(request.identifier);
    if (running != installations.end()) {
        const auto superseded = std::exchange(running->second.request, request);
        fail(superseded, OSSystemExtensionError::requestSuperseded, "The request was superseded.");
        return;
    }
    const auto extension = bundled(request.identifier);
    if (!extension) {
        fail(request, OSSystemExtensionError::extensionNotFound,
             fmt::format("The application contains no extension {}.", request.identifier));
        return;
    }
    const auto existing = installed(request.identifier);
    const bool isUnchanged = existing && hasNothingToInstall(extension->folder);
    if (isUnchanged && existing->isEnabled) {
        finish(request);
        return;
    }
    if (existing && !isUnchanged) {
        const auto delegate = request.delegate.lock();
        if (!delegate ||
            delegate->actionForReplacingExtension(request, *existing, extension->properties) ==
                OSSystemExtensionReplacementAction::cancel) {
            fail(request, OSSystemExtensionError::requestCanceled, "The request was canceled.");
            return;
        }
    }
    install(request);
}

/// Asks for a password only if that changes something. The plugin's program runs from the bundle,
/// so a newer one needs no installation. What counts is what NetworkManager and the bus read:
/// nothing but the version may differ.
bool NetworkManagerPlugin::hasNothingToInstall(const std::filesystem::path& folder) const {
    const KeyFile bundled(folder / "nm-quoxelin-service.name");
    const KeyFile installed(places.installedName);
    for (const char* key : {"name", "service", "program", "supports-multiple-connections"}) {
        if (bundled.string("VPN Connection", key) != installed.string("VPN Connection", key))
            return false;
    }
    return contentOf(folder / "nm-quoxelin-service.conf") == contentOf(places.installedPolicy);
}

void NetworkManagerPlugin::install(const OSSystemExtensionRequest& request) {
    if (!std::filesystem::exists(places.installer)) {
        fail(request, OSSystemExtensionError::unknown, places.installer.string() + " is missing");
        return;
    }
    auto* const process = new QProcess;
    // The object must live as long as the process runs.
    connect(process, &QProcess::finished, process, &QObject::deleteLater);
    installations.insert_or_assign(request.identifier, Installation{request, process});
    process->setStandardInputFile(QProcess::nullDevice());
    process->setStandardOutputFile(QProcess::nullDevice());
    connect(process, &QProcess::finished, this, [this, process, identifier = request.identifier] {
        installerEnded(identifier, *process,
                       process->readAllStandardError().trimmed().toStdString());
    });
    connect(process, &QProcess::errorOccurred, this,
            [this, process, identifier = request.identifier](QProcess::ProcessError error) {
                if (error != QProcess::FailedToStart)
                    return;
                process->deleteLater();
                const auto ended = installations.extract(identifier).mapped().request;
                fail(ended, OSSystemExtensionError::unknown,
                     fmt::format("{} cannot be started: {}", places.pkexec,
                                 process->errorString().toStdString()));
            });
    process->start(QString::fromStdString(places.pkexec),
                   {QString::fromStdString(places.installer.string())});
}

void NetworkManagerPlugin::installerEnded(const std::string& identifier, const QProcess& process,
                                          const std::string& said) {
    const auto request = installations.extract(identifier).mapped().request;
    const bool exited = process.exitStatus() == QProcess::NormalExit;
    if (exited && process.exitCode() == 0) {
        finish(request);
    } else if (exited && process.exitCode() == pkexecDismissed) {
        // A request that waits for approval is repeated whenever the application becomes active, so
        // the question that the user has just dismissed would return with every click.
        fail(request, OSSystemExtensionError::requestCanceled,
             said.empty() ? "The authorization was dismissed." : said);
    } else if (exited && process.exitCode() == pkexecNotAuthorized) {
        // Not `requestNeedsUserApproval`, because no settings of a Linux desktop allow it.
        fail(request, OSSystemExtensionError::authorizationRequired,
             fmt::format("An administrator can allow it with: sudo {}", places.installer.string()));
    } else {
        fail(request, OSSystemExtensionError::unknown,
             said.empty() ? "The extension could not be installed." : said);
    }
}

std::optional<NetworkManagerPlugin::Bundled>
NetworkManagerPlugin::bundled(const std::string& identifier) const {
    std::error_code error;
    const auto folder = places.bundle / "Contents" / "Library" / "SystemExtensions";
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() != ".systemextension")
            continue;
        const FolderBundle extension(entry->path());
        if (extension.bundleIdentifier() != identifier)
            continue;
        return Bundled{
            .properties = {.bundleIdentifier = identifier,
                           .bundleShortVersion =
                               extension.stringForInfoDictionaryKey("CFBundleShortVersionString")
                                   .value_or("")},
            .folder = entry->path() / "Contents"};
    }
    return std::nullopt;
}

/// NetworkManager ignores the group that holds the version.
std::optional<OSSystemExtensionProperties>
NetworkManagerPlugin::installed(const std::string& identifier) const {
    const KeyFile plugin(places.installedName);
    if (plugin.string("VPN Connection", "service") != identifier)
        return std::nullopt;
    const auto program = plugin.string("VPN Connection", "program");
    return OSSystemExtensionProperties{
        .bundleIdentifier = identifier,
        .bundleShortVersion = plugin.string("Quoxelin", "version").value_or(""),
        .isEnabled = program && ::access(program->c_str(), X_OK) == 0};
}

} // namespace quoxelin
