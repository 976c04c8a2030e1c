// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Qt's own texts (the standard buttons OK, Cancel, Yes, No and Qt's dialogs) in the
// program's language: Traditional Chinese from the system's Qt translations for language 2,
// Qt's English for language 1.
namespace pa::qt {

// Returns true when the language's Qt texts are in use (always for English; for Chinese only
// when the system has Qt's translations installed).
bool useQtTranslations(int language);

} // namespace pa::qt
