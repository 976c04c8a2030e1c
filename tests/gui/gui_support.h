#pragma once
// Helpers of the offscreen window tests.
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QString>
#include <QThread>
#include <QWidget>
#include <filesystem>
#include <functional>

namespace pa::testing {

// Serves events until the condition holds or the cap runs out.
inline bool waitFor(const std::function<bool()>& condition, int capMs = 8000) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < capMs) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return condition();
}

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

// The pages of a PDF file as its page objects count them; -1 when it is not a PDF file.
inline int pdfPages(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray bytes = file.readAll();
    if (!bytes.startsWith("%PDF-"))
        return -1;
    return static_cast<int>(bytes.count("/Type /Page") - bytes.count("/Type /Pages"));
}

} // namespace pa::testing
