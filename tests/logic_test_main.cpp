// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
// main of the logic tests: the locale comes from the environment (LC_ALL, LANG), as it does in
// the programs, where Qt takes it at start. Run under es_ES.UTF-8 or de_DE.UTF-8, every number
// conversion that follows the C library's locale would show up as a failing test.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    // A rerun under LC_ALL naming a locale that is not installed would fall back to C and
    // prove nothing: say so rather than pass. (A LANG that is not installed is common and
    // harmless: the tests then run in C.)
    const char* all = std::getenv("LC_ALL");
    if (!std::setlocale(LC_ALL, "") && all && *all) {
        std::fprintf(stderr, "The locale LC_ALL=%s is not installed.\n", all);
        return 1;
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
