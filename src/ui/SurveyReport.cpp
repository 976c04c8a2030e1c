// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "ui/SurveyReport.h"

#include "datafile/data_folder.h"
#include "report/SurveyPdf.h"
#include "report/survey_format.h"
#include "text/number_text.h"
#include "ui/CaptionText.h"

#include <QApplication>
#include <QDate>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QProgressDialog>
#include <QPushButton>

#include <filesystem>

namespace pa::ui {
namespace {

constexpr int kProgressSteps = 1000;

std::string reportNameFor(const std::string& dataPath) {
    std::filesystem::path p = datafile::pathFromUtf8(dataPath);
    p.replace_filename(p.stem().u8string() + u8"-report.pdf");
    const std::u8string s = p.u8string();
    return std::string(s.begin(), s.end());
}

std::string str(const QString& s) {
    return s.toStdString();
}

} // namespace

std::optional<report::SurveyOptions> askSurveyOptions(QWidget* parent, int language,
                                                      const report::SurveyOptions& defaults) {
    QDialog dialog(parent);
    dialog.setObjectName("surveyOptions");
    dialog.setWindowTitle(withoutMark(captionText(Caption::ReportMenu, language)).remove("..."));
    auto* form = new QFormLayout(&dialog);
    auto field = [&](const char* name, Caption label, const std::string& text) {
        auto* edit = new QLineEdit(QString::fromStdString(text), &dialog);
        edit->setObjectName(name);
        form->addRow(captionText(label, language), edit);
        return edit;
    };
    QLineEdit* price = field("price", Caption::ReportAskPrice,
                             defaults.price ? text::shortestGeneral(*defaults.price) : "");
    QLineEdit* nominal =
        field("nominal", Caption::ReportAskNominal, text::shortestGeneral(defaults.nominalV));
    QLineEdit* target =
        field("targetPf", Caption::ReportAskTarget, report::fixed(defaults.targetPf, 2));
    QLineEdit* hz = field("hz", Caption::ReportAskHz, text::shortestGeneral(defaults.hz));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    form->addRow(buttons);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);

    report::SurveyOptions chosen = defaults;
    // A field is accepted when it is a number in its range; the first one that is not takes
    // the focus, so the user sees which.
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, [&] {
        struct Check {
            QLineEdit* edit;
            double low, high;
            double* into;
        };
        double priceValue = 0;
        const Check checks[] = {{nominal, 1, 1000, &chosen.nominalV},
                                {target, 0.5, 1, &chosen.targetPf},
                                {hz, 1, 1000, &chosen.hz},
                                {price, 0, 1e6, &priceValue}};
        for (const Check& c : checks) {
            const std::string typed = str(c.edit->text().trimmed());
            if (c.edit == price && typed.empty()) {
                chosen.price.reset();
                continue;
            }
            const auto v = text::parseDecimal(typed);
            if (!v || *v < c.low || *v > c.high) {
                c.edit->setFocus();
                c.edit->selectAll();
                QApplication::beep();
                return;
            }
            *c.into = *v;
            if (c.edit == price)
                chosen.price = *v;
        }
        dialog.accept();
    });
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return chosen;
}

bool makeSurveyReport(app::Ui& ui, QWidget* parent, const std::string& dataPath, int language) {
    const std::string title = str(withoutMark(captionText(Caption::ReportMenu, language)));
    if (dataPath.empty()) {
        ui.message(str(captionText(Caption::ReportNoFile, language)), title,
                   app::Icon::Exclamation);
        return false;
    }
    report::SurveyOptions defaults;
    defaults.downloadYear = QDate::currentDate().year();
    const auto options = askSurveyOptions(parent, language, defaults);
    if (!options)
        return false;
    const auto out = ui.saveFileAt(str(captionText(Caption::ReportSaveTitle, language)),
                                   caption(Caption::PdfFilter, language), reportNameFor(dataPath));
    if (!out)
        return false;

    QProgressDialog progress(parent); // with Qt's own Cancel button
    progress.setLabelText(captionText(Caption::ReportWriting, language));
    progress.setRange(0, kProgressSteps);
    progress.setWindowTitle(QString::fromStdString(title));
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(500);
    std::uint64_t bad = 0;
    std::string firstProblem;
    report::SurveyCallbacks callbacks;
    callbacks.problem = [&](const std::string&, const datafile::Entry& e) {
        if (bad++ == 0)
            firstProblem = std::to_string(e.lineNumber) + ": " + e.problem;
    };
    callbacks.progress = [&](double share) {
        progress.setValue(static_cast<int>(share * kProgressSteps));
        QApplication::processEvents();
        return !progress.wasCanceled();
    };
    report::Survey survey;
    std::string error = report::gatherSurvey({dataPath}, *options, survey, callbacks);
    progress.reset();
    if (error == "cancelled")
        return false;
    if (error.empty())
        error = report::writeSurveyPdf(survey, *out, language == 2 ? "zh" : "en",
                                       QApplication::applicationVersion().toStdString());
    if (!error.empty()) {
        ui.message(str(captionText(Caption::ReportFailed, language)) + ":\n" + error, title,
                   app::Icon::Exclamation);
        return false;
    }
    if (bad > 0)
        ui.message(str(captionText(Caption::ReportBadLines, language)
                           .arg(bad)
                           .arg(QString::fromStdString(firstProblem))),
                   title, app::Icon::Exclamation);
    ui.openDocument(*out);
    return true;
}

} // namespace pa::ui
