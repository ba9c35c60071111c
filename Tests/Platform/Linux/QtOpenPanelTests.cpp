#include "Platform/Linux/QtOpenPanel.h"

#include "Tests/Platform/Linux/EventLoop.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

QFileDialog* openDialog() {
    for (auto* widget : QApplication::topLevelWidgets())
        if (auto* dialog = qobject_cast<QFileDialog*>(widget); dialog && dialog->isVisible())
            return dialog;
    return nullptr;
}

} // namespace

class QtOpenPanelTest : public ::testing::Test {
  protected:
    QFileDialog& begin() {
        NSOpenPanelOptions options;
        options.title = "Export Logs";
        options.prompt = "Export";
        options.canChooseFiles = false;
        options.canChooseDirectories = true;
        panel.begin(options, [this](const auto& folder) { chosen.push_back(folder); });
        return *openDialog();
    }

    ~QtOpenPanelTest() override { runLoopUntilIdle(); }

    QtOpenPanel panel;
    std::vector<std::optional<std::filesystem::path>> chosen;
};

TEST_F(QtOpenPanelTest, beginsInTheHomeFolderWhereverTheApplicationWasStarted) {
    const auto before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent("/"));
    EXPECT_EQ(begin().directory().path().toStdString(), QDir::homePath().toStdString());
    openDialog()->reject();
    QDir::setCurrent(before);
}

TEST_F(QtOpenPanelTest, asksForAFolderOnly) {
    auto& dialog = begin();
    EXPECT_EQ(dialog.windowTitle(), "Export Logs");
    EXPECT_EQ(dialog.fileMode(), QFileDialog::Directory);
    EXPECT_TRUE(dialog.testOption(QFileDialog::ShowDirsOnly));
    EXPECT_EQ(dialog.labelText(QFileDialog::Accept), "Export");
    dialog.reject();
}

TEST_F(QtOpenPanelTest, tellsTheChosenFolderOrThatThereIsNone) {
    begin().reject();
    auto& dialog = begin();
    dialog.selectFile(QDir::homePath());
    QMetaObject::invokeMethod(&dialog, "accept");
    EXPECT_EQ(chosen, (std::vector<std::optional<std::filesystem::path>>{
                          std::nullopt, QDir::homePath().toStdString()}));
}

} // namespace quoxelin::testing
