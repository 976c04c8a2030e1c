// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Helpers of the offscreen window tests.
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QSet>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>

#include "inprocess_port.h"
#include "pty_host.h"
#include "qt/qt_clock.h"
#include "qt/qt_port.h"
#include "support/data_file_writer.h"
#include "support/fake_clock.h"
#include "support/scripted_ui.h"
#include "support/test_files.h"
#include "support/wait_for.h"
#include "text/mask_format.h"
#include "ui/MeterRec.h"

namespace pa::testing {

// Makes a folder the working folder (where commport.dat goes) and, when asked, the home
// folder, for as long as the object lives; then puts both back.
class InFolder {
  public:
    explicit InFolder(const std::filesystem::path& folder, bool asHome = true)
        : home_(qgetenv("HOME")), work_(std::filesystem::current_path()) {
        if (asHome)
            qputenv("HOME", folder.string().c_str());
        std::filesystem::current_path(folder);
    }
    ~InFolder() {
        std::filesystem::current_path(work_);
        qputenv("HOME", home_);
    }
    InFolder(const InFolder&) = delete;
    InFolder& operator=(const InFolder&) = delete;

  private:
    QByteArray home_;
    std::filesystem::path work_;
};

// The first menu item or action under root with this text (mnemonic "&" included).
inline QAction* menuItem(QWidget* root, const QString& text) {
    for (QAction* a : root->findChildren<QAction*>())
        if (a->text() == text)
            return a;
    return nullptr;
}

// The text of the label with this object name, or a note that there is none.
inline QString shown(QWidget* root, const char* name) {
    auto* label = root->findChild<QLabel*>(name);
    return label ? label->text() : "(missing " + QString(name) + ")";
}

// Where screenshots and printed files of the tests go.
inline QString screenshotPath(const char* name) {
    QDir().mkpath(PA_TEST_OUTPUT_DIR);
    return QString(PA_TEST_OUTPUT_DIR) + "/" + name;
}

// Saves a grab of the window as docs/manual/images expects it, after checking that it is a
// picture of a window and not an empty or blank one.
inline void saveShot(QWidget& window, const char* name) {
    QApplication::processEvents();
    const QImage image = window.grab().toImage();
    ASSERT_FALSE(image.isNull()) << name;
    // Of a window's size: neither cut down to nothing nor grown past a page.
    const QSize size = image.size();
    EXPECT_TRUE(QRect(300, 150, 1101, 851).contains(QPoint(size.width(), size.height())))
        << name << ": " << size.width() << "x" << size.height();
    QSet<QRgb> colours; // a drawn window has text, frames and fields, not one flat colour
    for (int y = 0; y < image.height(); y += 3)
        for (int x = 0; x < image.width(); x += 3)
            colours.insert(image.pixel(x, y));
    EXPECT_GT(colours.size(), 20) << name << " looks blank";
    const QString folder = PA_TEST_OUTPUT_DIR "/manual";
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(image.save(folder + "/" + name, "PNG", 0)) << name; // 0: smallest file
}

// The pages of a PDF file as its page objects count them; -1 when it is not a PDF file.
inline int pdfPages(const QString& path) {
    QFile file(path);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    return bytes.startsWith("%PDF-")
               ? static_cast<int>(bytes.count("/Type /Page") - bytes.count("/Type /Pages"))
               : -1;
}

// A recording as the program writes it: the header, records 0..n-1 one second apart (the
// wattage of record i wattOf(i), or the writer's default), then the lines given.
inline std::string writeRecording(const std::filesystem::path& path, long n,
                                  const std::function<double(long)>& wattOf = {},
                                  const std::vector<std::string>& after = {}) {
    DataFileWriter w(path.string());
    w.line(headerLine());
    for (long i = 0; i < n; ++i) {
        RecordTexts r;
        r.number = i;
        r.clock = clockFor(i);
        if (wattOf) {
            r.watt = text::formatMask(wattOf(i), "0.0");
            r.cost = "0.0";
        }
        w.line(recordLine(r));
    }
    for (const std::string& line : after)
        w.line(line);
    return path.string();
}

// Runs act on the next modal dialog once it is up (the caller then opens the dialog and
// blocks in it); act must close it.
inline void whenModal(std::function<void(QWidget*)> act) {
    auto* poll = new QTimer;
    poll->setInterval(30);
    QObject::connect(poll, &QTimer::timeout, [poll, act] {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible())
            return;
        poll->stop();
        poll->deleteLater();
        act(modal);
    });
    poll->start();
}

// Counts the paints of a widget while it lives.
struct PaintCounter : QObject {
    int n = 0;
    explicit PaintCounter(QWidget* w) { w->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* e) override {
        n += e->type() == QEvent::Paint;
        return false;
    }
};

// The main window on the simulator over a pseudo-terminal, the real serial port and the wall
// clock, in a profile folder of its own (home and working folder) while it lives.
struct PtyRig {
    explicit PtyRig(app::Ui& ui, sim::Load simLoad = {230, 0.55, 0.92, 50, 0}) // 116.4 W
        : load(simLoad), sim(simLoad), window(state, port, clock, ui) {
        EXPECT_TRUE(sim.start());
    }
    // Opens the simulator's terminal and waits for the first reading.
    void open() {
        window.openPort(sim.devicePath());
        ASSERT_TRUE(waitFor([&] { return !window.cycle().readouts().clockText.empty(); }));
    }
    std::filesystem::path dataFile(const std::string& name) const {
        return profile.path() / "Documents" / "KV2260" / name;
    }
    QAction* action(const char* name) { return window.findChild<QAction*>(name); }

    TempFolder profile;
    InFolder inFolder{profile.path()};
    sim::Load load;
    sim::PtyHost sim;
    app::ProgramState state;
    qt::QtPort port;
    qt::QtClock clock;
    ui::MeterRec window;
};

// The main window on the in-process simulator and the virtual clock.
struct SimRig {
    sim::Load load{230, 0.55, 0.92, 50, 0};
    sim::Instrument meter{load};
    sim::InProcessPort port{meter};
    FakeClock clock;
    ScriptedUi ui;
    app::ProgramState state;
    ui::MeterRec window{state, port, clock, ui};
};

} // namespace pa::testing
