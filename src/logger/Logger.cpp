// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "logger/Logger.h"

#include "logger/console_parser.h"
#include "logger/diag.h"
#include "logger/status_block.h"
#include "text/leading_number.h"
#include "ui/CaptionText.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace pa::logger {

namespace {

QString qs(const std::string& s) {
    return QString::fromStdString(s);
}

constexpr const char* kValueStyle =
    "QLabel { background: #0d1418; color: #e6f4ea; border: 1px solid #2c3a40;"
    " border-radius: 3px; padding: 2px 6px; }";

QLabel* caption(const char* text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace

Logger::Logger(app::Port& port, app::Clock& clock, app::Ui& ui, const app::ProgramState& state,
               std::function<void(int)> liveSampling, std::function<std::string()> folder,
               QWidget* parent)
    : QMainWindow(parent), ui_(ui), exchange_(port, clock, ui, state),
      session_(exchange_, liveSampling, std::move(folder)), live_(std::move(liveSampling)) {
    setObjectName("Logger");
    setWindowTitle("Datalogger");

    QMenu* file = menuBar()->addMenu("&File");
    QAction* dump = file->addAction("&Data Dump");
    dump->setObjectName("DataDump");
    connect(dump, &QAction::triggered, this, &Logger::dataDump);
    QAction* diagnostic = file->addAction("&Diagnostic");
    diagnostic->setObjectName("show_diag");
    connect(diagnostic, &QAction::triggered, this, [this] { show_diag(); });
    file->addSeparator();
    QAction* exit = file->addAction("E&xit");
    exit->setObjectName("Exit_Logger");
    connect(exit, &QAction::triggered, this, &QWidget::close);

    auto* body = new QWidget(this);
    auto* layout = new QVBoxLayout(body);
    auto* top = new QHBoxLayout;
    top->addWidget(buildSetup(), 3);
    top->addWidget(buildInformation(), 2);
    layout->addLayout(top);
    layout->addWidget(buildButtonsAndConsole());
    setCentralWidget(body);

    session_.load();
    applyCaptions(state.language);
    refresh();
}

Logger::~Logger() = default;

void Logger::applyCaptions(int language) {
    using ui::Caption;
    readStatus_->setText(ui::captionText(Caption::LoggerStatusButton, language));
    readAll_->setText(ui::captionText(Caption::LoggerReadSaveButton, language));
    Text1_[0]->setToolTip(ui::captionText(Caption::LoggerIdTip, language));
    for (int box : {3, 4})
        Text1_[box]->setToolTip(ui::captionText(Caption::LoggerIntervalTip, language));
}

QWidget* Logger::buildSetup() {
    auto* box = new QGroupBox("DATALOGGER SETUP", this);
    auto* grid = new QGridLayout(box);
    const std::array<std::vector<const char*>, 3> items{
        std::vector<const char*>(std::begin(kModeItems), std::end(kModeItems)),
        std::vector<const char*>(std::begin(kBaudItems), std::end(kBaudItems)),
        std::vector<const char*>(std::begin(kOutputItems), std::end(kOutputItems))};
    for (int i = 0; i < 3; ++i) {
        combos_[i] = new QComboBox(box);
        combos_[i]->setObjectName(QString("Combo%1").arg(i + 1));
        for (const char* item : items[i])
            combos_[i]->addItem(item);
        // activated: only the user's choices, never the window's own updates.
        connect(combos_[i], &QComboBox::activated, this,
                [this, i](int index) { run([&] { session_.comboChosen(i, index); }); });
    }
    for (int i = 0; i < 5; ++i) {
        Text1_[i] = new QLineEdit(box);
        Text1_[i]->setObjectName(QString("Text1_%1").arg(i));
        connect(Text1_[i], &QLineEdit::returnPressed, this,
                [this, i] { run([&] { session_.updateSetting(i); }); });
    }
    Text1_[1]->setPlaceholderText("MM-DD");
    Text1_[2]->setPlaceholderText("HH:MM:SS");

    int row = 0;
    grid->addWidget(caption("Recording Mode", box), row, 0);
    grid->addWidget(combos_[0], row++, 1);
    grid->addWidget(caption("Power-on Baud Rate", box), row, 0);
    grid->addWidget(combos_[1], row++, 1);
    auto* rs232 = new QGroupBox("RS-232", box);
    auto* rsGrid = new QGridLayout(rs232);
    rsGrid->addWidget(caption("Mode", rs232), 0, 0);
    rsGrid->addWidget(combos_[2], 0, 1);
    rsGrid->addWidget(caption("Interval (sec.)", rs232), 1, 0);
    rsGrid->addWidget(Text1_[4], 1, 1);
    grid->addWidget(rs232, row++, 0, 1, 2);
    grid->addWidget(caption("Sampling (sec.)", box), row, 0);
    grid->addWidget(Text1_[3], row++, 1);
    grid->addWidget(caption("    Time   (HH:MM:SS)", box), row, 0);
    grid->addWidget(Text1_[2], row++, 1);
    grid->addWidget(caption("   Date    (MM-DD)    ", box), row, 0);
    grid->addWidget(Text1_[1], row++, 1);
    grid->addWidget(caption(" ID", box), row, 0);
    grid->addWidget(Text1_[0], row++, 1);
    auto* hint = caption("Type in data and press ENTER to update", box);
    hint->setStyleSheet("color: palette(mid);");
    grid->addWidget(hint, row++, 0, 1, 2);
    return box;
}

QLabel* Logger::infoLabel(int index) {
    auto* label = new QLabel(this);
    label->setObjectName(QString("Label1_%1").arg(index));
    label->setStyleSheet(kValueStyle);
    label->setMinimumWidth(90);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    Label1_[index] = label;
    return label;
}

QWidget* Logger::buildInformation() {
    auto* box = new QGroupBox("LOGGING INFORMATION", this);
    auto* grid = new QGridLayout(box);
    const struct {
        const char* caption;
        int label;
    } rows[] = {{"Status", kStateLabel}, {"Memory", 1},        {"Memory Size", 5},
                {"Last Record", 7},      {"Write Counts", 11}, {"Hz", 8}};
    int row = 0;
    for (const auto& r : rows) {
        grid->addWidget(caption(r.caption, box), row, 0);
        grid->addWidget(infoLabel(r.label), row++, 1);
    }
    grid->setRowStretch(row, 1);
    return box;
}

QWidget* Logger::buildButtonsAndConsole() {
    auto* panel = new QWidget(this);
    auto* grid = new QGridLayout(panel);
    readStatus_ = new QPushButton(panel);
    readStatus_->setObjectName("Read_Status");
    readStatus_->setMinimumWidth(110);
    connect(readStatus_, &QPushButton::clicked, this,
            [this] { run([&] { session_.Read_Status(); }); });
    readAll_ = new QPushButton(panel);
    readAll_->setObjectName("Read_All");
    connect(readAll_, &QPushButton::clicked, this, [this] { run([&] { session_.Read_All(); }); });
    grid->addWidget(readStatus_, 0, 0);
    grid->addWidget(
        caption("Press to get logging info. and logger setup in the power analyzer", panel), 0, 1,
        1, 3);
    grid->addWidget(readAll_, 1, 0);
    grid->addWidget(caption("Press to read the data in the datalogger and save in a file", panel),
                    1, 1, 1, 3);

    auto* console = new QGroupBox(panel);
    auto* c = new QGridLayout(console);
    Text2_ = new QLineEdit(console);
    Text2_->setObjectName("Text2");
    Text2_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    Text2_->setPlaceholderText("R 5   W 60 25   X");
    connect(Text2_, &QLineEdit::returnPressed, this,
            [this] { run([&] { session_.consoleEnter(Text2_->text().toStdString()); }); });
    c->addWidget(caption("Refer to manual for command's format", console), 0, 0);
    c->addWidget(Text2_, 1, 0);
    const struct {
        const char* caption;
        int label;
    } results[] = {{"Address", kConsoleAddressLabel},
                   {"Data (dec)", kConsoleDecLabel},
                   {"Data (hex)", kConsoleHexLabel}};
    int column = 1;
    for (const auto& r : results) {
        c->addWidget(caption(r.caption, console), 0, column);
        c->addWidget(infoLabel(r.label), 1, column++);
    }
    grid->addWidget(console, 2, 0, 1, 4);
    return panel;
}

void Logger::takeBoxes() {
    for (int i = 0; i < 5; ++i)
        session_.Text1[i] = Text1_[i]->text().toStdString();
}

// One user action at a time: the exchange busy-waits and yields to the interface, so a
// second click must not start a second exchange in the middle of the first.
void Logger::run(const std::function<void()>& action) {
    if (busy_) {
        refresh();
        return;
    }
    busy_ = true;
    setEnabled(false);
    takeBoxes(); // what the user typed stays unless the action changes it
    action();
    setEnabled(true);
    busy_ = false;
    refresh();
}

void Logger::refresh() {
    for (int i = 0; i < 5; ++i)
        if (Text1_[i]->text().toStdString() != session_.Text1[i])
            Text1_[i]->setText(qs(session_.Text1[i]));
    for (auto& [index, label] : Label1_)
        label->setText(qs(session_.Label1[index]));
    for (int i = 0; i < 3; ++i) {
        const QSignalBlocker block(combos_[i]);
        combos_[i]->setCurrentIndex(session_.combos[i].index);
    }
}

diag* Logger::show_diag() {
    if (!diag_)
        diag_ = new diag(exchange_, live_, this);
    diag_->show();
    diag_->raise();
    diag_->activateWindow();
    return diag_;
}

void Logger::dataDump() {
    const auto first = ui_.input("First address (0 to 255)", "Data Dump", "0");
    if (!first)
        return;
    const auto last = ui_.input("Last address (0 to 255)", "Data Dump", "95");
    if (!last)
        return;
    std::optional<std::string> bytes;
    run([&] { bytes = session_.dataDump(*first, *last); });
    if (!bytes)
        return;
    const int from = static_cast<int>(text::leadingNumber(*first)); // 0..255: it was read
    QDialog dialog(this);
    dialog.setObjectName("DataDumpDialog");
    dialog.setWindowTitle("Data Dump");
    auto* layout = new QVBoxLayout(&dialog);
    auto* view = new QPlainTextEdit(qs(hexDump(from, *bytes)), &dialog);
    view->setReadOnly(true);
    view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    view->setMinimumSize(560, 320);
    layout->addWidget(view);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    dialog.exec();
}

} // namespace pa::logger
