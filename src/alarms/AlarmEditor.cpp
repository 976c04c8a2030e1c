// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "alarms/AlarmEditor.h"

#include "datafile/output_file.h"

#include "datafile/data_folder.h"
#include "ui/CaptionText.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextBlock>
#include <QVBoxLayout>
#include <fstream>

namespace pa::alarms {

using ui::Caption;
using ui::captionText;

namespace {

// The line number of "FILE:LINE: cause" (0 when there is none).
int errorLine(const std::string& error, const std::string& file) {
    if (error.rfind(file + ":", 0) != 0)
        return 0;
    return std::atoi(error.c_str() + file.size() + 1);
}

} // namespace

AlarmEditor::AlarmEditor(app::Ui& ui, int language, const std::string& file, QWidget* parent)
    : QDialog(parent), ui_(ui), language_(language) {
    setObjectName("AlarmEditor");
    setWindowTitle(ui::withoutMark(captionText(Caption::MenuAlarms, language)).remove("..."));
    auto* layout = new QVBoxLayout(this);
    auto* hint = new QLabel(captionText(Caption::AlarmEditorHint, language), this);
    hint->setWordWrap(true);
    fileLabel_ = new QLabel(this);
    fileLabel_->setObjectName("AlarmFile");
    text_ = new QPlainTextEdit(this);
    text_->setObjectName("AlarmText");
    text_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    text_->setLineWrapMode(QPlainTextEdit::NoWrap);
    text_->setMinimumSize(560, 320);
    layout->addWidget(hint);
    layout->addWidget(fileLabel_);
    layout->addWidget(text_, 1);

    auto* buttons = new QHBoxLayout;
    const auto button = [&](Caption c, const char* name) {
        auto* b = new QPushButton(captionText(c, language), this);
        b->setObjectName(name);
        b->setAutoDefault(false);
        buttons->addWidget(b);
        return b;
    };
    connect(button(Caption::AlarmLoad, "AlarmLoad"), &QPushButton::clicked, this, [this] {
        if (const auto path = ui_.openFile(
                ui::withoutMark(captionText(Caption::AlarmLoad, language_)).toStdString(),
                captionText(Caption::AlarmFilter, language_).toStdString()))
            load(*path);
    });
    connect(button(Caption::AlarmSaveAs, "AlarmSaveAs"), &QPushButton::clicked, this, [this] {
        if (const auto path = ui_.saveFile(
                ui::withoutMark(captionText(Caption::AlarmSaveAs, language_)).toStdString(),
                captionText(Caption::AlarmFilter, language_).toStdString()))
            saveTo(*path);
    });
    connect(button(Caption::AlarmCheck, "AlarmCheck"), &QPushButton::clicked, this,
            [this] { check(false); });
    buttons->addStretch(1);
    connect(button(Caption::AlarmStop, "AlarmStop"), &QPushButton::clicked, this, [this] {
        stop_ = true;
        accept();
    });
    QPushButton* use = button(Caption::AlarmSaveAndUse, "AlarmUse");
    use->setDefault(true);
    connect(use, &QPushButton::clicked, this, &AlarmEditor::saveAndUse);
    connect(button(Caption::AlarmCancel, "AlarmCancel"), &QPushButton::clicked, this,
            &QDialog::reject);
    layout->addLayout(buttons);

    if (!file.empty())
        load(file);
    fileLabel_->setText(shownName());
}

QString AlarmEditor::shownName() const {
    return QString::fromStdString(file_);
}

bool AlarmEditor::load(const std::string& path) {
    std::ifstream in(datafile::pathFromUtf8(path), std::ios::binary);
    std::string content(kMaxFileBytes + 1, '\0');
    in.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(in.gcount()));
    if (!in.eof() || content.size() > kMaxFileBytes) {
        // A file too large for an alarm set is not put into the editor: the reason is shown.
        ui_.message(readAlarmFile(path).error, "", app::Icon::Exclamation);
        return false;
    }
    text_->setPlainText(QString::fromUtf8(content.data(), static_cast<qsizetype>(content.size())));
    file_ = path;
    fileLabel_->setText(shownName());
    return true;
}

bool AlarmEditor::saveTo(const std::string& path) {
    const QByteArray bytes = text_->toPlainText().toUtf8();
    // Whole or not at all: a failed save leaves the old set as it was.
    if (const std::string error = datafile::writeWholeFile(path, bytes.toStdString());
        !error.empty()) {
        ui_.message(captionText(Caption::TrendCannotSave, language_).toStdString() + ": " + error,
                    "", app::Icon::Exclamation);
        return false;
    }
    file_ = path;
    fileLabel_->setText(shownName());
    return true;
}

std::optional<ParseResult> AlarmEditor::check(bool quietWhenRight) {
    const std::string name =
        file_.empty() ? std::string("(new)")
                      : QFileInfo(QString::fromStdString(file_)).fileName().toStdString();
    ParseResult parsed = parseAlarms(text_->toPlainText().toStdString(), name);
    if (!parsed.error.empty()) {
        if (const int line = errorLine(parsed.error, name); line > 0) {
            QTextCursor cursor(text_->document()->findBlockByNumber(line - 1));
            text_->setTextCursor(cursor);
        }
        text_->setFocus();
        ui_.message(parsed.error, "", app::Icon::Exclamation);
        return std::nullopt;
    }
    if (!quietWhenRight)
        ui_.message(captionText(Caption::AlarmCheckedOk, language_)
                        .arg(parsed.set.alarms.size())
                        .toStdString());
    return parsed;
}

void AlarmEditor::saveAndUse() {
    auto parsed = check(true);
    if (!parsed)
        return;
    if (file_.empty()) {
        const auto path = ui_.saveFile(
            ui::withoutMark(captionText(Caption::AlarmSaveAs, language_)).toStdString(),
            captionText(Caption::AlarmFilter, language_).toStdString());
        if (!path)
            return;
        file_ = *path;
    }
    if (!saveTo(file_))
        return;
    chosen_ = std::move(parsed);
    accept();
}

} // namespace pa::alarms
