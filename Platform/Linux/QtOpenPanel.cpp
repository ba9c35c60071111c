#include "Platform/Linux/QtOpenPanel.h"

#include <QDir>
#include <QFileDialog>

namespace quoxelin {

void QtOpenPanel::begin(
    const NSOpenPanelOptions& options,
    std::function<void(std::optional<std::filesystem::path>)> completionHandler) {
    // The working folder is wherever the application was started.
    auto* dialog =
        new QFileDialog(nullptr, QString::fromStdString(options.title), QDir::homePath());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    if (options.canChooseDirectories && !options.canChooseFiles) {
        dialog->setFileMode(QFileDialog::Directory);
        dialog->setOption(QFileDialog::ShowDirsOnly);
    } else {
        dialog->setFileMode(QFileDialog::ExistingFile);
    }
    dialog->setOption(QFileDialog::ReadOnly, !options.canCreateDirectories);
    dialog->setLabelText(QFileDialog::Accept, QString::fromStdString(options.prompt));
    QObject::connect(dialog, &QFileDialog::finished, dialog,
                     [dialog, completionHandler = std::move(completionHandler)](int result) {
                         const auto files = dialog->selectedFiles();
                         if (result != QDialog::Accepted || files.isEmpty())
                             completionHandler(std::nullopt);
                         else
                             completionHandler(files.first().toStdString());
                     });
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

} // namespace quoxelin
