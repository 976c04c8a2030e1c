// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Printing a window as it stands: its picture scaled to the page, keeping its proportions.
class QPrinter;
class QWidget;

namespace pa::ui {

void printPicture(QWidget& window, QPrinter& printer);

} // namespace pa::ui
