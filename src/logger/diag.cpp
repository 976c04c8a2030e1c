// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "logger/diag.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QVBoxLayout>

namespace pa::logger {

diag::diag(LoggerExchange& exchange, std::function<void(int)> liveSampling, QWidget* parent)
    : QMainWindow(parent), test_(exchange, std::move(liveSampling)) {
    setObjectName("diag");
    setWindowTitle("Diagnostic");
    setMinimumWidth(320);
    setWindowFlag(Qt::Window);
    QMenu* file = menuBar()->addMenu("&File");
    QAction* exit = file->addAction("E&xit");
    exit->setObjectName("Exit_diag");
    connect(exit, &QAction::triggered, this, &QWidget::close);

    auto* body = new QWidget(this);
    auto* layout = new QVBoxLayout(body);

    auto* result = new QGroupBox("Self-Test Result", body);
    auto* grid = new QGridLayout(result);
    results_[1] = value("Panel1_1");
    verdict_[1] = value("Panel2_1");
    verdict_[3] = value("Panel2_3");
    grid->addWidget(new QLabel("Link", result), 0, 0);
    grid->addWidget(results_[1], 0, 1);
    grid->addWidget(new QLabel("Self-Test", result), 1, 0);
    grid->addWidget(verdict_[1], 1, 1);
    grid->addWidget(new QLabel("History", result), 2, 0);
    grid->addWidget(verdict_[3], 2, 1);
    layout->addWidget(result);

    auto* counts = new QGroupBox("Memory Write Failure Counts", body);
    results_[3] = value("Panel1_3");
    (new QHBoxLayout(counts))->addWidget(results_[3]);
    layout->addWidget(counts);
    auto* memory = new QGroupBox("Memory Status", body);
    results_[5] = value("Panel1_5");
    (new QHBoxLayout(memory))->addWidget(results_[5]);
    layout->addWidget(memory);

    auto* buttons = new QHBoxLayout;
    auto* start = new QPushButton("Start Self-Test", body);
    start->setObjectName("diag_start");
    auto* read = new QPushButton("Read", body);
    read->setObjectName("diag_read");
    read->setDefault(true);
    connect(start, &QPushButton::clicked, this, &diag::diag_start);
    connect(read, &QPushButton::clicked, this, &diag::diag_read);
    buttons->addWidget(start);
    buttons->addStretch();
    buttons->addWidget(read);
    layout->addLayout(buttons);
    setCentralWidget(body);
    refresh();
}

QLabel* diag::value(const char* name) {
    auto* label = new QLabel(this);
    label->setObjectName(name);
    label->setMinimumWidth(120);
    label->setStyleSheet("QLabel { background: #0d1418; color: #e6f4ea; border: 1px solid "
                         "#2c3a40; border-radius: 3px; padding: 2px 6px; }");
    return label;
}

void diag::diag_start() {
    setEnabled(false);
    test_.diag_start();
    setEnabled(true);
    refresh();
}

void diag::diag_read() {
    setEnabled(false);
    test_.diag_read();
    setEnabled(true);
    refresh();
}

void diag::refresh() {
    for (int i : {1, 3, 5})
        results_[i]->setText(QString::fromStdString(test_.results[i]));
    for (int i : {1, 3})
        verdict_[i]->setText(QString::fromStdString(test_.verdict[i]));
}

} // namespace pa::logger
