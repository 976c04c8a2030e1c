// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The datalogger window: the logger's setup (three drop-downs and five editable boxes), its
// logging information, the status and Read/Save buttons and the memory console. Every
// action is one call on the LoggerSession; the window then shows the session's fields.
#include "logger/logger_exchange.h"
#include "logger/logger_session.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPointer>
#include <QPushButton>
#include <array>
#include <functional>
#include <map>

namespace pa::logger {

class diag;

class Logger : public QMainWindow {
    Q_OBJECT
  public:
    // liveSampling is the main window's SetLiveSampling; folder gives the download folder.
    Logger(app::Port& port, app::Clock& clock, app::Ui& ui, const app::ProgramState& state,
           std::function<void(int)> liveSampling, std::function<std::string()> folder,
           QWidget* parent = nullptr);
    ~Logger() override;

    LoggerSession& session() { return session_; }
    LoggerExchange& exchange() { return exchange_; }
    // Opens (or raises) the self-test window.
    diag* show_diag();
    // Asks for an address range and shows its bytes as a hex dump.
    void dataDump();
    // Shows the session's state in every control.
    void refresh();
    // The window's own buttons and hints in the language (1 English, 2 Chinese); the
    // instrument's names for its settings stay in English.
    void applyCaptions(int language);

  private:
    QWidget* buildSetup();
    QWidget* buildInformation();
    QWidget* buildButtonsAndConsole();
    QLabel* infoLabel(int index);
    void takeBoxes(); // the typed texts into the session
    void run(const std::function<void()>& action);

    app::Ui& ui_;
    LoggerExchange exchange_;
    LoggerSession session_;
    std::function<void(int)> live_;
    std::array<QComboBox*, 3> combos_{}; // Combo1..Combo3
    std::array<QLineEdit*, 5> Text1_{};  // ID, date, time, sampling, output interval
    QLineEdit* Text2_ = nullptr;         // the console line
    std::map<int, QLabel*> Label1_;      // information, state and console labels
    QPushButton* readStatus_ = nullptr;  // Read_Status
    QPushButton* readAll_ = nullptr;     // Read_All
    QPointer<diag> diag_;
    bool busy_ = false;
};

} // namespace pa::logger
