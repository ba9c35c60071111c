#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/Desktop.h"
#include "Platform/Linux/QtHostingView.h"
#include "Platform/Linux/Snapshot.h"
#include "Tests/Support/PanelStates.h"

#include <QPainter>
#include <algorithm>
#include <fmt/format.h>
#include <set>

using namespace quoxelin;

namespace {

QPalette darkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0x2b, 0x2b, 0x2e));
    palette.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x20));
    palette.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x3d));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, QColor(0xec, 0xec, 0xee));
    palette.setColor(QPalette::Highlight, QColor(0x4f, 0x8c, 0xff));
    return palette;
}

/// Draws the windows on a plain background, so that shadow and edge are visible.
QImage onDesktop(const QImage& windows, bool dark) {
    QImage picture(windows.size(), QImage::Format_RGB32);
    picture.setDevicePixelRatio(windows.devicePixelRatio());
    picture.fill(dark ? QColor(0x17, 0x1c, 0x26) : QColor(0xdf, 0xe6, 0xee));
    QPainter(&picture).drawImage(0, 0, windows);
    return picture;
}

bool draw(const testing::PanelState& state, const QString& path, bool dark) {
    const auto scene = state.scene();
    ClickWatch clicks;
    QtPanels panels(clicks);
    NSPanelOptions options;
    options.hasShadow = true;
    const auto panel = panels.makePanel(options);
    NSVisualEffectView background;
    background.cornerRadius = 10;
    background.subview = panels.makeHostingView();
    panel->setContentView(background);
    background.subview->setRootView(scene->tree());
    panel->setFrameOrigin(60, 1000);
    panel->makeKeyAndOrderFront();
    for (int turn = 0; turn < 3; ++turn)
        QCoreApplication::processEvents();
    return onDesktop(snapshotOfWindows(), dark).save(path);
}

} // namespace

/// panel-pictures FOLDER light|dark [STATE...]: draws every state or the named ones.
int main(int argc, char** argv) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    if (argc < 3) {
        fmt::print(stderr, "panel-pictures FOLDER light|dark [STATE...]\n");
        return 2;
    }
    Bus noBus("");
    const Toolkit toolkit(argv[0], noBus);
    const bool dark = std::string(argv[2]) == "dark";
    if (dark)
        QApplication::setPalette(darkPalette());
    const std::set<std::string> wanted(argv + 3, argv + argc);
    for (const auto& state : testing::panelStates()) {
        if (!wanted.empty() && wanted.count(state.name) == 0)
            continue;
        const auto path = fmt::format("{}/{}{}.png", argv[1], state.name, dark ? "-dark" : "");
        if (!draw(state, QString::fromStdString(path), dark)) {
            fmt::print(stderr, "{} cannot be written\n", path);
            return 1;
        }
    }
    return 0;
}
