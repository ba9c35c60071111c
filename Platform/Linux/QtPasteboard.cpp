#include "Platform/Linux/QtPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace quoxelin {

void QtPasteboard::clearContents() {
    QGuiApplication::clipboard()->clear();
}

void QtPasteboard::setString(const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

} // namespace quoxelin
