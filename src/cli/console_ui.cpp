#include "cli/console_ui.h"

#include "cli/commands.h"

#include <QCoreApplication>
#include <cstdio>

namespace pa::cli {

app::Answer ConsoleUi::message(const std::string& text, const std::string& title, app::Icon,
                               app::Buttons buttons) {
    std::string line = text;
    for (char& c : line)
        if (c == '\n' || c == '\r')
            c = ' ';
    std::fprintf(stderr, "%s%s%s\n", title.c_str(), title.empty() ? "" : ": ", line.c_str());
    return buttons == app::Buttons::YesNo ? app::Answer::No : app::Answer::Ok;
}

bool ConsoleUi::statusCancelled() {
    return stopRequested();
}

void ConsoleUi::processEvents() {
    QCoreApplication::processEvents();
}

} // namespace pa::cli
