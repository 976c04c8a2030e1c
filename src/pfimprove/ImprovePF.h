// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The PF improvement window: the load as the main window measures it (row "Current->"), one
// target typed into the row "Improved->" and calculated on Enter, the equivalent circuit
// values, the power triangle and the circuit picture. The calculation is PfCalculator's; the
// window shows it.
#include "app/ui.h"
#include "pfimprove/pf_calculator.h"

#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>
#include <array>
#include <functional>

class QPrinter;

namespace pa::pfimprove {

class PhaseDiagram;
class CircuitPicture;

inline constexpr int kEnterKey = 13;

class ImprovePF : public QWidget {
    Q_OBJECT
  public:
    // readouts gives the main window's readout texts 0..7 whenever the window refreshes.
    ImprovePF(app::Ui& ui, std::function<ReadoutTexts()> readouts, QWidget* parent = nullptr);

    // The captions of a language (1 English, 2 Chinese).
    void applyCaptions(int language);

    // Refreshes the present state, the row "Current->" and the circuit fields.
    void UpdateP();
    // A key in input box index (0..5): Enter calculates; other keys are the box's own.
    void Text1_KeyPress(int index, int keyCode);
    // Prints the window as it stands, after the print dialog.
    void PrintPF();
    void printTo(QPrinter& printer);
    void Exit_Improve_PF() { hide(); }

    const PfCalculator& calculator() const { return pf_; }
    QLineEdit* box(int index) const { return Text1_[index]; }

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    QWidget* buildParameters();
    QWidget* buildCircuit();
    QWidget* buildDiagram();
    void setBoxColours(int cyanIndex);

    app::Ui& ui_;
    std::function<ReadoutTexts()> readouts_;
    PfCalculator pf_;

    QGroupBox* parameters_ = nullptr;
    QGroupBox* circuitFrame_ = nullptr;
    QGroupBox* diagramFrame_ = nullptr;
    QLabel* currentLabel_ = nullptr;  // Label1(0): "Current->"
    QLabel* improvedLabel_ = nullptr; // "Improved->"
    QLabel* hint_ = nullptr;
    std::array<QLabel*, kTargets> headings_{};
    std::array<QLabel*, kCurrentFields> current_{};
    std::array<QLineEdit*, kTargets> Text1_{};
    std::array<QLabel*, kCircuitFields> fields_{};
    PhaseDiagram* diagram_ = nullptr;
    CircuitPicture* circuit_ = nullptr;
    QPushButton* update_ = nullptr;
    QPushButton* print_ = nullptr;
    QPushButton* exit_ = nullptr;
};

} // namespace pa::pfimprove
