// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "qt/qt_translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace pa::qt {
namespace {

// The one translator of Qt's own texts; it lives as long as the program.
QTranslator* qtTranslator() {
    static QTranslator* translator = new QTranslator(QCoreApplication::instance());
    return translator;
}

} // namespace

bool useQtTranslations(int language) {
    QTranslator* translator = qtTranslator();
    QCoreApplication::removeTranslator(translator);
    if (language != 2)
        return true;
    // Debian ships these in qt6-translations-l10n; without them Qt's texts stay in English.
    if (!translator->load(QLocale(QLocale::Chinese, QLocale::Taiwan), "qtbase", "_",
                          QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        return false;
    return QCoreApplication::installTranslator(translator);
}

} // namespace pa::qt
