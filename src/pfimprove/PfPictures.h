// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// The two pictures of the PF improvement window, drawn to the widget's size:
//   PhaseDiagram   the power triangle (W along, VAR up, VA the slope, the phase angle at the
//                  origin) of the present load and, once a target is calculated, of the
//                  improved load on the same W, with the capacitor's share of VAR marked;
//   CircuitPicture the load as R parallel with L on the line, with the capacitor to add in
//                  parallel and its value.
#include "pfimprove/pf_calculator.h"

#include <QColor>
#include <QRectF>
#include <QString>
#include <QWidget>
#include <utility>
#include <vector>

namespace pa::pfimprove {

// The two states' colours, shared by the pictures and the window's rows.
inline const QColor kPresentColour{0xc0, 0x39, 0x2b};   // red-brown: the load as it is
inline const QColor kImprovedColour{0x1e, 0x84, 0x49};  // green: with the capacitor
inline const QColor kCapacitorColour{0x1f, 0x5f, 0xbf}; // blue: what the capacitor takes

class PfPicture : public QWidget {
  public:
    explicit PfPicture(const PfCalculator& calculator, QWidget* parent = nullptr)
        : QWidget(parent), pf_(calculator) {}
    // Names of the two states in the current language ("Current", "Improved").
    void setStateNames(const QString& present, const QString& improved) {
        presentName_ = present;
        improvedName_ = improved;
        update();
    }

  protected:
    const PfCalculator& pf_;
    QString presentName_ = "Current", improvedName_ = "Improved";
};

class PhaseDiagram : public PfPicture {
  public:
    using PfPicture::PfPicture;
    QSize minimumSizeHint() const override { return {300, 220}; }
    // The texts drawn at the last paint and where they stand.
    const std::vector<std::pair<QString, QRectF>>& labels() const { return labels_; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    std::vector<std::pair<QString, QRectF>> labels_;
};

class CircuitPicture : public PfPicture {
  public:
    using PfPicture::PfPicture;
    QSize minimumSizeHint() const override { return {300, 170}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace pa::pfimprove
