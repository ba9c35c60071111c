// The least that a Qt program with a tray icon and a panel can be: what the application is compared
// with. A click on the icon opens and closes the panel. It has no state, no bus and no daemon.
#include <QApplication>
#include <QLabel>
#include <QPainter>
#include <QSystemTrayIcon>
#include <QVBoxLayout>

namespace {

constexpr int rows = 8;
constexpr int width = 272;

QIcon makeIcon() {
    QPixmap picture(22, 22);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::white);
    painter.drawEllipse(3, 3, 16, 16);
    return picture;
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);

    QWidget panel(nullptr, Qt::FramelessWindowHint | Qt::Tool | Qt::WindowStaysOnTopHint);
    panel.setPalette(Qt::white);
    panel.setFixedWidth(width);
    auto* const layout = new QVBoxLayout(&panel);
    for (int row = 1; row <= rows; ++row)
        layout->addWidget(new QLabel(QString("Row %1 of the panel").arg(row)));

    // Ready to be shown at once.
    panel.adjustSize();

    QSystemTrayIcon icon(makeIcon());
    QObject::connect(&icon, &QSystemTrayIcon::activated, &panel, [&] {
        panel.move(icon.geometry().bottomRight() - QPoint(width, -4));
        panel.setVisible(!panel.isVisible());
    });
    icon.show();
    return QApplication::exec();
}
