// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Where the plotter finds things in a data file line. Columns are 1-based character positions.
//
// A record line as the recorder writes it (· is a blank):
//   ·········3,·11-15-2026,16:58:09.4,··123.4W,·0.98·PF,··230.1V,··0.547A,·······11.5,...
//   col 1     11           24        34        43       52       61       70
// The plotter reads each quantity as the leading number of a fixed slice. Its columns are
// its own: it assumes a 9-character phase-angle field where the recorder writes 12, so the
// slices of VA, VAR, KWH and Est. KWH begin three columns before those fields. Files in the
// field depend on that reading, so the columns are kept exactly.
#include <array>

namespace pa::plot {

struct Quantity {
    const char* title; // the vertical axis title and the Data menu entry
    int startColumn;
    int width;
};

inline constexpr std::array<Quantity, 9> kQuantities{{
    {"Watt", 35, 9},
    {"PF", 44, 9},
    {"Volt", 53, 9},
    {"Ampere", 62, 9},
    {"Phase Angle", 71, 9},
    {"VA", 80, 12},
    {"VAR", 92, 14},
    {"KWH", 106, 14},
    {"Est. KWH", 120, 14},
}};

// The time text of a record (the clock field and what follows it).
inline constexpr int kLabelColumn = 24;
inline constexpr int kLabelWidth = 12;

// A data file's first line has "," at these columns.
inline constexpr std::array<int, 3> kCommaColumns{11, 43, 61};

// A first line shorter than this has no phase angle and later fields (entries 4 to 8).
inline constexpr int kFullLineLength = 70;
inline constexpr int kFirstLongEntry = 4;

// Up to this many records minus one, every record is a point; from it on, the envelope.
inline constexpr long kEnvelopeFrom = 3600;
// The envelope has at most this many points per set.
inline constexpr long kEnvelopePoints = 1800;
// A zoom plots at most this many records.
inline constexpr double kZoomMaxRecords = 3600;
// The label table: about five labels along the axis, room for ten.
inline constexpr int kLabelsAlongAxis = 5;
inline constexpr int kLabelTableSize = 10;

} // namespace pa::plot
