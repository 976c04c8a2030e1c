// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "qt/qt_ui.h"

#include "ui/CHKSPEED.h"

#include <QApplication>
#include <QComboBox>
#include <QDesktopServices>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFontMetrics>
#include <QInputDialog>
#include <QMessageBox>
#include <QUrl>
#include <QWindow>

namespace pa::qt {
namespace {

constexpr int kFirstShowWaitMs = 1000;

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

// The extension of a save filter such as "Data Files (*.txt)": "txt"; empty for "*" or "*.*".
QString filterExtension(const QString& filter) {
    const qsizetype star = filter.indexOf("*.");
    if (star < 0)
        return {};
    QString extension;
    for (qsizetype i = star + 2; i < filter.size() && filter[i].isLetterOrNumber(); ++i)
        extension += filter[i];
    return extension;
}

// A file dialog that adds the extension of the chosen filter when the user types none, so
// that the file shows under the same filter when it is opened again.
QString askSaveName(QWidget* owner, const QString& title, const QString& start,
                    const QString& filter) {
    QFileDialog dialog(owner, title, start, filter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setDefaultSuffix(filterExtension(filter.section(";;", 0, 0)));
    QObject::connect(
        &dialog, &QFileDialog::filterSelected, &dialog,
        [&dialog](const QString& chosen) { dialog.setDefaultSuffix(filterExtension(chosen)); });
    // Qt's own dialog changes its filter through its file type list without that signal.
    if (auto* types = dialog.findChild<QComboBox*>("fileTypeCombo"))
        QObject::connect(
            types, &QComboBox::currentTextChanged, &dialog,
            [&dialog](const QString& chosen) { dialog.setDefaultSuffix(filterExtension(chosen)); });
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().constFirst();
}

} // namespace

QtUi::QtUi() : status_(new ui::CHKSPEED) {}

QWidget* QtUi::dialogOwner() {
    QWidget* active = QApplication::activeWindow();
    if (active && active != status_ && active->isVisible())
        lastActive_ = active;
    if (lastActive_ && lastActive_->isVisible())
        return lastActive_;
    return owner_;
}

QtUi::~QtUi() {
    delete status_;
}

app::Answer QtUi::message(const std::string& text, const std::string& title, app::Icon icon,
                          app::Buttons buttons) {
    QMessageBox box(toQt(icon), title.empty() ? QApplication::applicationDisplayName() : qs(title),
                    qs(text), QMessageBox::NoButton, dialogOwner());
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
    QInputDialog dialog(dialogOwner());
    dialog.setInputMode(QInputDialog::TextInput);
    dialog.setWindowTitle(qs(title));
    dialog.setLabelText(qs(prompt));
    dialog.setTextValue(qs(defaultText));
    // Wide enough for the whole title in the title bar, whatever the prompt's length.
    QFont titleFont = dialog.font();
    titleFont.setBold(true);
    dialog.setMinimumWidth(QFontMetrics(titleFont).horizontalAdvance(qs(title)) + 160);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.textValue().toStdString();
}

std::optional<std::string> QtUi::openFile(const std::string& title, const std::string& filter) {
    const QString path = QFileDialog::getOpenFileName(dialogOwner(), qs(title), {}, qs(filter));
    if (path.isEmpty())
        return std::nullopt;
    return path.toStdString();
}

std::optional<std::string> QtUi::openFileIn(const std::string& title, const std::string& filter,
                                            const std::string& startPath) {
    const QString path =
        QFileDialog::getOpenFileName(dialogOwner(), qs(title), qs(startPath), qs(filter));
    if (path.isEmpty())
        return std::nullopt;
    return path.toStdString();
}

std::optional<std::string> QtUi::saveFile(const std::string& title, const std::string& filter) {
    return saveFileAt(title, filter, {});
}

std::optional<std::string> QtUi::saveFileAt(const std::string& title, const std::string& filter,
                                            const std::string& startPath) {
    const QString path = askSaveName(dialogOwner(), qs(title), qs(startPath), qs(filter));
    if (path.isEmpty())
        return std::nullopt;
    return path.toStdString();
}

void QtUi::statusShow() {
    status_->setProgress(0, 0);
    QWidget* owner = dialogOwner();
    if (!status_->isVisible())
        status_->centreOver(owner);
    // The box stays above the window it reports for, which the window manager keeps in
    // front otherwise (the box is not that window's child, so that either can close first).
    if (owner && owner->window()->windowHandle()) {
        status_->winId();
        status_->windowHandle()->setTransientParent(owner->window()->windowHandle());
    }
    status_->show();
    status_->raise();
    // The first showing (the computer-speed check at start-up) waits until the box is on
    // screen: its texts are painted without the event loop, which may not have run yet when
    // no prompt came before (a port named on the command line), and the check would time
    // nothing but unpainted updates.
    if (!statusShownBefore_) {
        statusShownBefore_ = true;
        QElapsedTimer waited;
        waited.start();
        while (!(status_->windowHandle() && status_->windowHandle()->isExposed()) &&
               waited.elapsed() < kFirstShowWaitMs)
            QApplication::processEvents(QEventLoop::ExcludeUserInputEvents, 20);
    }
}
void QtUi::statusHide() {
    status_->hide();
}
void QtUi::statusCaption(const std::string& caption) {
    status_->setCaption(qs(caption));
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
void QtUi::statusProgress(int done, int total, const std::string& label) {
    status_->setProgress(done, total, qs(label));
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
