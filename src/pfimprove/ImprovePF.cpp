// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "pfimprove/ImprovePF.h"

#include "pfimprove/PfPictures.h"
#include "ui/CaptionText.h"
#include "ui/PrintPicture.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QPrintDialog>
#include <QPrinter>
#include <QShortcut>
#include <QVBoxLayout>

namespace pa::pfimprove {
namespace {

using ui::Caption;

using ui::captionText;

// Light cyan marks the box whose target was calculated; the others are white.
const QColor kEditedColour(0x00, 0xff, 0xff);

QLabel* displayField(QWidget* parent, const QString& name) {
    auto* label = new QLabel(parent);
    label->setObjectName(name);
    label->setFrameShape(QFrame::Panel);
    label->setFrameShadow(QFrame::Sunken);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setMinimumWidth(70);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

// The row's name without its arrow, for the pictures' legends ("Current->" -> "Current").
QString stateName(Caption c, int language) {
    QString s = captionText(c, language);
    s.remove("->");
    return s.trimmed();
}

} // namespace

ImprovePF::ImprovePF(app::Ui& ui, std::function<ReadoutTexts()> readouts, QWidget* parent)
    : QWidget(parent, Qt::Window), ui_(ui), readouts_(std::move(readouts)) {
    setObjectName("ImprovePF");
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(buildParameters());
    auto* pictures = new QHBoxLayout;
    pictures->addWidget(buildCircuit(), 1);
    pictures->addWidget(buildDiagram(), 1);
    layout->addLayout(pictures, 1);

    auto* buttons = new QHBoxLayout;
    update_ = new QPushButton(this);
    update_->setObjectName("UpdateP");
    print_ = new QPushButton(this);
    print_->setObjectName("PrintPF");
    exit_ = new QPushButton(this);
    exit_->setObjectName("Exit_Improve_PF");
    connect(update_, &QPushButton::clicked, this, &ImprovePF::UpdateP);
    connect(print_, &QPushButton::clicked, this, &ImprovePF::PrintPF);
    connect(exit_, &QPushButton::clicked, this, &ImprovePF::Exit_Improve_PF);
    auto* escape = new QShortcut(QKeySequence::Cancel, this);
    connect(escape, &QShortcut::activated, this, &ImprovePF::Exit_Improve_PF);
    buttons->addStretch(1);
    for (QPushButton* b : {update_, print_, exit_})
        buttons->addWidget(b);
    layout->addLayout(buttons);

    applyCaptions(1);
    resize(980, 640);
}

QWidget* ImprovePF::buildParameters() {
    parameters_ = new QGroupBox(this);
    parameters_->setObjectName("Frame_parameters");
    auto* grid = new QGridLayout(parameters_);
    currentLabel_ = new QLabel(parameters_);
    currentLabel_->setObjectName("Label1_0");
    improvedLabel_ = new QLabel(parameters_);
    improvedLabel_->setObjectName("Label1_1");
    hint_ = new QLabel(parameters_);
    hint_->setObjectName("Label1_2");
    hint_->setWordWrap(true);
    grid->addWidget(currentLabel_, 1, 0);
    grid->addWidget(improvedLabel_, 2, 0);

    for (int i = 0; i < kTargets; ++i) {
        headings_[i] = new QLabel(parameters_);
        headings_[i]->setAlignment(Qt::AlignCenter);
        grid->addWidget(headings_[i], 0, i + 1);

        Text1_[i] = new QLineEdit(parameters_);
        Text1_[i]->setObjectName(QString("Text1_%1").arg(i));
        Text1_[i]->setAlignment(Qt::AlignRight);
        Text1_[i]->setMinimumWidth(80);
        connect(Text1_[i], &QLineEdit::returnPressed, this,
                [this, i] { Text1_KeyPress(i, kEnterKey); });
        grid->addWidget(Text1_[i], 2, i + 1);
        if (i < kCurrentFields) {
            current_[i] = displayField(parameters_, QString("Current_%1").arg(i));
            grid->addWidget(current_[i], 1, i + 1);
        }
    }
    currentLabel_->setBuddy(Text1_[0]);
    grid->addWidget(hint_, 3, 0, 1, kTargets + 1);
    setBoxColours(-1);
    return parameters_;
}

QWidget* ImprovePF::buildCircuit() {
    circuitFrame_ = new QGroupBox(this);
    circuitFrame_->setObjectName("Frame_circuit");
    auto* layout = new QVBoxLayout(circuitFrame_);
    auto* grid = new QGridLayout;
    const char* names[] = {"W", "V", "IR", "R (Ω)", "IX", "X (Ω)", "L", "Hz"};
    for (int i = 0; i < kCircuitFields; ++i) {
        auto* heading = new QLabel(names[i], circuitFrame_);
        heading->setAlignment(Qt::AlignCenter);
        fields_[i] = displayField(circuitFrame_, QString("Circuit_%1").arg(i));
        fields_[i]->setMinimumWidth(60);
        const int row = i / 4 * 2, column = i % 4;
        grid->addWidget(heading, row, column);
        grid->addWidget(fields_[i], row + 1, column);
    }
    layout->addLayout(grid);
    circuit_ = new CircuitPicture(pf_, circuitFrame_);
    circuit_->setObjectName("CircuitPicture");
    layout->addWidget(circuit_, 1);
    return circuitFrame_;
}

QWidget* ImprovePF::buildDiagram() {
    diagramFrame_ = new QGroupBox(this);
    diagramFrame_->setObjectName("Frame_diagram");
    auto* layout = new QVBoxLayout(diagramFrame_);
    diagram_ = new PhaseDiagram(pf_, diagramFrame_);
    diagram_->setObjectName("PhaseDiagram");
    layout->addWidget(diagram_, 1);
    return diagramFrame_;
}

void ImprovePF::applyCaptions(int language) {
    setWindowTitle(captionText(Caption::PfTitle, language));
    Text1_[kTargetC]->setToolTip(captionText(Caption::PfCapacitanceTip, language));
    parameters_->setTitle(captionText(Caption::PfParameters, language));
    currentLabel_->setText(captionText(Caption::PfCurrentRow, language));
    improvedLabel_->setText(captionText(Caption::PfImprovedRow, language));
    hint_->setText(captionText(Caption::PfHint, language));
    circuitFrame_->setTitle(captionText(Caption::PfCircuit, language));
    diagramFrame_->setTitle(captionText(Caption::PfDiagram, language));
    exit_->setText(captionText(Caption::PfExit, language));
    print_->setText(captionText(Caption::PfPrint, language));
    update_->setText(captionText(Caption::PfUpdate, language));
    const Caption headings[] = {Caption::Reading1, Caption::Reading3, Caption::Reading5,
                                Caption::Reading6, Caption::Reading4, Caption::PfCapacitance};
    for (int i = 0; i < kTargets; ++i)
        headings_[i]->setText(captionText(headings[i], language));

    // In Chinese the first label is set in 12 points; English keeps the window's font.
    QFont first = font();
    if (language == 2)
        first.setPointSize(12);
    currentLabel_->setFont(first);

    const QString present = stateName(Caption::PfCurrentRow, language);
    const QString improved = stateName(Caption::PfImprovedRow, language);
    diagram_->setStateNames(present, improved);
    circuit_->setStateNames(present, improved);
}

void ImprovePF::UpdateP() {
    if (readouts_)
        pf_.UpdateP(readouts_());
    for (int i = 0; i < kCurrentFields; ++i)
        current_[i]->setText(QString::fromStdString(pf_.currentRow()[i]));
    for (int i = 0; i < kCircuitFields; ++i)
        fields_[i]->setText(QString::fromStdString(pf_.circuitFields()[i]));
    diagram_->update();
    circuit_->update();
}

void ImprovePF::Text1_KeyPress(int index, int keyCode) {
    if (keyCode != kEnterKey || index < 0 || index >= kTargets)
        return;
    const EnterResult result = pf_.Enter(index, Text1_[index]->text().toStdString());
    if (result.kind == EnterResult::Kind::Ignored)
        return;
    setBoxColours(-1);
    if (result.kind == EnterResult::Kind::Refused) {
        ui_.message(result.message, "", app::Icon::Exclamation, app::Buttons::Ok);
        for (QLineEdit* box : Text1_)
            box->clear();
        return;
    }
    if (!result.notice.empty())
        ui_.message(result.notice, "", app::Icon::None, app::Buttons::Ok);
    for (int i = 0; i < kTargets; ++i)
        Text1_[i]->setText(QString::fromStdString(result.boxes[i]));
    setBoxColours(index);
    diagram_->update();
    circuit_->update();
}

void ImprovePF::setBoxColours(int cyanIndex) {
    for (int i = 0; i < kTargets; ++i) {
        QPalette palette = Text1_[i]->palette();
        palette.setColor(QPalette::Base, i == cyanIndex ? kEditedColour : QColor(Qt::white));
        palette.setColor(QPalette::Text, Qt::black);
        Text1_[i]->setPalette(palette);
    }
}

void ImprovePF::PrintPF() {
    QPrinter printer;
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted)
        printTo(printer);
}

void ImprovePF::printTo(QPrinter& printer) {
    ui::printPicture(*this, printer);
}

void ImprovePF::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    UpdateP(); // also the first display
}

} // namespace pa::pfimprove
