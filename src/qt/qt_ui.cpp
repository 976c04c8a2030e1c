#include "qt/qt_ui.h"

#include "ui/CHKSPEED.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QUrl>

namespace pa::qt {
namespace {

QString qs(const std::string& s) {
    return QString::fromStdString(s);
}

QMessageBox::Icon toQt(app::Icon icon) {
    switch (icon) {
    case app::Icon::Information:
        return QMessageBox::Information;
    case app::Icon::Exclamation:
        return QMessageBox::Warning;
    case app::Icon::Question:
        return QMessageBox::Question;
    case app::Icon::Critical:
        return QMessageBox::Critical;
    default:
        return QMessageBox::NoIcon;
    }
}

} // namespace

QtUi::QtUi() : status_(new ui::CHKSPEED) {}

QtUi::~QtUi() {
    delete status_;
}

app::Answer QtUi::message(const std::string& text, const std::string& title, app::Icon icon,
                          app::Buttons buttons) {
    QMessageBox box(toQt(icon), title.empty() ? QApplication::applicationDisplayName() : qs(title),
                    qs(text), QMessageBox::NoButton, owner_);
    switch (buttons) {
    case app::Buttons::YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    case app::Buttons::OkCancel:
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        break;
    default:
        box.setStandardButtons(QMessageBox::Ok);
    }
    switch (box.exec()) {
    case QMessageBox::Yes:
        return app::Answer::Yes;
    case QMessageBox::No:
        return app::Answer::No;
    case QMessageBox::Cancel:
        return app::Answer::Cancel;
    default:
        return app::Answer::Ok;
    }
}

std::optional<std::string> QtUi::input(const std::string& prompt, const std::string& title,
                                       const std::string& defaultText) {
    bool ok = false;
    const QString text = QInputDialog::getText(owner_, qs(title), qs(prompt), QLineEdit::Normal,
                                               qs(defaultText), &ok);
    if (!ok)
        return std::nullopt;
    return text.toStdString();
}

std::optional<std::string> QtUi::openFile(const std::string& title, const std::string& filter) {
    const QString path = QFileDialog::getOpenFileName(owner_, qs(title), {}, qs(filter));
    if (path.isEmpty())
        return std::nullopt;
    return path.toStdString();
}

std::optional<std::string> QtUi::openFileIn(const std::string& title, const std::string& filter,
                                            const std::string& startPath) {
    const QString path = QFileDialog::getOpenFileName(owner_, qs(title), qs(startPath), qs(filter));
    if (path.isEmpty())
        return std::nullopt;
    return path.toStdString();
}

std::optional<std::string> QtUi::saveFile(const std::string& title, const std::string& filter) {
    return saveFileAt(title, filter, {});
}

std::optional<std::string> QtUi::saveFileAt(const std::string& title, const std::string& filter,
                                            const std::string& startPath) {
    const QString path = QFileDialog::getSaveFileName(owner_, qs(title), qs(startPath), qs(filter));
    if (path.isEmpty())
        return std::nullopt;
    return path.toStdString();
}

void QtUi::statusShow() {
    status_->show();
}
void QtUi::statusHide() {
    status_->hide();
}
void QtUi::statusCaption(const std::string& caption) {
    status_->setWindowTitle(qs(caption));
}
void QtUi::statusText(const std::string& text) {
    status_->setText(qs(text));
}
void QtUi::statusCancellable(bool offered) {
    status_->setCancellable(offered);
}
bool QtUi::statusCancelled() {
    return status_->cancelled();
}
void QtUi::processEvents() {
    QApplication::processEvents();
}
void QtUi::beep() {
    QApplication::beep();
}

void QtUi::openDocument(const std::string& path) {
    if (!path.empty())
        QDesktopServices::openUrl(QUrl::fromLocalFile(qs(path)));
}

} // namespace pa::qt
