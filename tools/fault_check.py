#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
# SPDX-FileCopyrightText: 2026 The Power Analyzer developers
"""Measures what the test suite catches: applies single realistic faults to the code of a
scratch copy of the tree, one at a time, builds, runs the tests and restores the file.

A fault counts as caught as soon as one test fails (or a test program no longer builds), so
the logic tests of the fault's own folder run first, then the other logic tests, then the
Qt, end-to-end and window tests; every test program stops at its first failure. Only a fault
nobody catches costs a whole run.

  tools/fault_check.py --tree /tmp/scratch [--tests-from .] [--only NAME] > table.md

--tree is a copy of the repository with a configured build folder (build/); it is changed
while the script runs and restored after each fault. --tests-from copies that tree's tests/
over the scratch copy's first, to measure another version of the tests against the same code.
Tests that already fail without a fault are found first and left out of every run (listed on
standard error), so that only a failure the fault causes counts.
"""
import argparse
import os
import signal
import shutil
import subprocess
import sys
import time

LOGIC = ["alarms", "app", "cmdline", "datafile", "live", "logger", "pfimprove", "plot",
         "report", "sim", "text", "trend", "ui"]

# name, file, text, replacement, folder whose logic tests run first (None: the Qt tests).
FAULTS = [
    ("caption letter", "src/ui/captions.cpp", '{"&Start Recording", ', '{"&Start Recordin", ',
     "ui"),
    ("record field width", "src/datafile/data_file.cpp", 'fixedField(t.volts, "V,", 9)',
     'fixedField(t.volts, "V,", 10)', "datafile"),
    ("header field width", "src/datafile/data_file.cpp", 'fixedField("Phase angle", ",", 12)',
     'fixedField("Phase angle", ",", 11)', "datafile"),
    ("NO COM line spacing", "src/datafile/data_file.cpp", '"NO COM, DATA LOST, !, !,!',
     '"NO COM, DATA LOST, !,!,!', "datafile"),
    ("daily name month/day", "src/datafile/recorder.cpp",
     'dateText.substr(0, 2) + "-" + dateText.substr(3, 2)',
     'dateText.substr(3, 2) + "-" + dateText.substr(0, 2)', "datafile"),
    ("data file error message", "src/datafile/data_file.cpp", "(a pipe, socket or folder)",
     "(a pipe or socket)", "datafile"),
    ("CSV column name", "src/datafile/csv_export.cpp", '"angle_deg"', '"angle"', "datafile"),
    ("CSV lost line end", "src/datafile/csv_export.cpp", 'kLost = "no_com\\r\\n";',
     'kLost = "no_com\\n";', "datafile"),
    ("plain field with two points", "src/datafile/recorder_line.cpp",
     "|| (points & (points - 1)) != 0)", ")", "datafile"),
    ("plain field minus anywhere", "src/datafile/recorder_line.cpp",
     "(minus & (1u << first))", "minus", "datafile"),
    ("energy formula constant", "src/live/energy_cost.cpp", "hoursPerDay_ / 24.0",
     "hoursPerDay_ / 25.0", "live"),
    ("sampling time bound", "src/live/live_cycle.h", "kMaxSamplingTime = 13106.8",
     "kMaxSamplingTime = 13107.2", "live"),
    ("display nibble table", "src/live/frame_decoder.cpp", '"084<2:6>195=3;7?"',
     '"084<2:6>195=3;?7"', "live"),
    ("decimal point place", "src/live/frame_decoder.cpp", 'text.insert(4, ".");',
     'text.insert(5, ".");', "live"),
    ("MQTT time key", "src/live/mqtt_messages.cpp", 'out["time"] = timestamp;',
     'out["ts"] = timestamp;', "live"),
    ("MQTT unit", "src/live/mqtt_messages.cpp", '"reactive_power", "var"',
     '"reactive_power", "VAr"', "live"),
    ("logger read byte", "src/logger/logger_exchange.cpp", 'port_.write("R");',
     'port_.write("r");', "logger"),
    ("logger status bit", "src/logger/logger_exchange.cpp", "if (status & 0x20)",
     "if (status & 0x10)", "logger"),
    ("download File text", "src/logger/download.cpp", '"File  " + *path', '"File " + *path',
     "logger"),
    ("download leading byte text", "src/logger/download.cpp", "Incorrecot leading byte",
     "Incorrect leading byte", "logger"),
    ("pf angle constant", "src/pfimprove/pf_calculator.cpp", "kHalfPi = 1.5708",
     "kHalfPi = 1.5707", "pfimprove"),
    ("no Hz message", "src/pfimprove/hz_wait.h", "Can not improve PF", "Cannot improve PF",
     "pfimprove"),
    ("pf refusal exit code", "src/cli/pf_command.cpp",
     'r.message.c_str());\n        return 1;', 'r.message.c_str());\n        return 2;', None),
    ("port bound off by one", "src/cmdline/command_options.cpp", "port <= 65535",
     "port < 65535", "cmdline"),
    ("baud settings", "src/app/meter_link.h", '{"4", "4800,n,8,1"', '{"4", "4800,n,8,2"',
     "app"),
    ("demand interval", "src/report/load_survey.cpp", "kDemandMs = 15 * 60'000",
     "kDemandMs = 16 * 60'000", "report"),
    ("folder error message", "src/datafile/data_folder.cpp", '"Cannot create the folder "',
     '"Could not create the folder "', "datafile"),
    ("alarm unit", "src/alarms/alarm_set.cpp", '{"VAR", "var"}', '{"VAR", "VAr"}', "alarms"),
    ("download header", "src/logger/record_converter.h", '"No.,Date,Time,Watts,PF,Volts,Amps"',
     '"No.,Date,Time,Watt,PF,Volts,Amps"', "logger"),
    ("plot envelope bound", "src/plot/plot_columns.h", "kEnvelopeFrom = 3600",
     "kEnvelopeFrom = 3601", "plot"),
    ("alarm log header", "src/alarms/alarm_actions.cpp", '"time,alarm,event,value,unit\\n"',
     '"time,alarm,event,value\\n"', "alarms"),
    ("stats group cap", "src/datafile/recording_stats.h", "kMostGroups = 50'000",
     "kMostGroups = 49'999", "datafile"),
    ("long line cut", "src/datafile/line_index.h", "kLongestShownLine = 4096",
     "kLongestShownLine = 4095", "datafile"),
    ("simulator overload word", "sim/display_word.cpp",
     "encodeValueWord(positive, false, 15, 15, 15, pointPos)",
     "encodeValueWord(positive, true, 15, 15, 15, pointPos)", "sim"),
    ("slow PC bound", "src/app/meter_link.cpp", "if (elapsed >= kSlowPcSeconds)",
     "if (elapsed > kSlowPcSeconds)", "app"),
    ("trend pause status", "src/trend/trend_store.cpp", 'return "paused";', 'return "pause";',
     "trend"),
    ("port line after reset", "src/ui/MeterRec.cpp", "    showPortState();\n    showRecording();",
     "    showRecording();", None),
    ("frame threshold", "src/live/live_cycle.h", "kFrameThreshold = 20", "kFrameThreshold = 21",
     "live"),
    ("MQTT no-answer text", "src/cli/mqtt_publisher.cpp", '"no answer from the broker at "',
     '"no reply from the broker at "', None),
    ("discovery not retained", "src/cli/mqtt_publisher.cpp", "c.payload.data(), 0, true);",
     "c.payload.data(), 0, false);", None),
    ("record to standard output", "src/cmdline/command_options.cpp", 'if (r.out == "-")',
     'if (r.out == "--")', "cmdline"),
    ("empty --opt= value", "src/cmdline/command_options.cpp", "a.ends_with('=')",
     "a.ends_with('#')", "cmdline"),
    ("no ports message", "src/cmdline/port_listing.cpp", '"no serial ports found: plug',
     '"no serial port found: plug', "cmdline"),
    ("logger id bound", "src/logger/settings_encoding.cpp", "kMaxId = 32767;", "kMaxId = 32766;",
     "logger"),
    ("capacitance prefix bound", "src/pfimprove/pf_calculator.cpp", "if (x >= 1E12)",
     "if (x > 1E12)", "pfimprove"),
    ("Get Hz retry text", "src/live/live_cycle.cpp", '"Please press the Get Hz button again"',
     '"Please press Get Hz again"', "live"),
    ("slow link bound", "src/logger/logger_exchange.h", "kSlowLinkBelow = 3;",
     "kSlowLinkBelow = 2;", "logger"),
    ("NO COM warning tick", "src/live/live_cycle.h", "kWarnAfterTicks = 5;",
     "kWarnAfterTicks = 6;", "live"),
    ("device name digit bound", "src/datafile/windows_names.cpp", "tail[0] <= '9'",
     "tail[0] < '9'", "datafile"),
    ("standard output error text", "src/cli/main.cpp",
     '"poweranalyzer-cli: cannot write standard output: %s\\n"',
     '"poweranalyzer-cli: cannot write output: %s\\n"', None),
    ("MQTT unreachable text", "src/cli/mqtt_publisher.cpp", '"cannot reach " + where()',
     '"cannot connect to " + where()', None),
]


def run(cmd, cwd, timeout, env=None):
    """Runs a command in a process group of its own, so that a stop ends its children too."""
    p = subprocess.Popen(cmd, cwd=cwd, env=env, stdout=subprocess.PIPE,
                         stderr=subprocess.STDOUT, start_new_session=True)
    try:
        out, _ = p.communicate(timeout=timeout)
        return p.returncode, out.decode(errors="replace")
    except subprocess.TimeoutExpired:
        return -1, "timeout"
    finally:
        if p.poll() is None:
            os.killpg(p.pid, signal.SIGKILL)
            p.wait()


def build(tree, targets):
    env = dict(os.environ, CCACHE_BASEDIR=tree, CCACHE_NOHASHDIR="1")
    return run(["cmake", "--build", "build", "-j2", "--target"] + targets, tree, 3600, env)


def failures(out):
    """The names of the failed tests in a Google Test output, in order."""
    found = []
    for line in out.splitlines():
        if not line.startswith("[  FAILED  ]"):
            continue
        rest = line[len("[  FAILED  ]"):].strip()
        if not rest or rest[0].isdigit():  # the summary: "1 test, listed below:"
            continue
        name = rest.split(" ")[0].rstrip(",")
        if name not in found:
            found.append(name)
    return found


def first_failure(out):
    found = failures(out)
    return found[0] if found else ""


# Tests that fail without any fault, per group: left out of the fault runs.
BROKEN = {}


def test_command(tests, group, fail_fast=True):
    program = os.path.join(tests, group + "_tests")
    cmd = [program, "--gtest_brief=1"] + (["--gtest_fail_fast"] if fail_fast else [])
    if BROKEN.get(group):
        cmd.append("--gtest_filter=-" + ":".join(BROKEN[group]))
    return cmd


def baseline(tree):
    """Builds everything and notes the tests that fail with no fault applied."""
    tests = os.path.join(tree, "build", "tests")
    code, out = build(tree, ["all"])
    if code != 0:
        sys.exit("the untouched tree does not build:\n" + out[-3000:])
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    for group in LOGIC + ["qt"]:
        start = time.time()
        code, out = run(test_command(tests, group, False), tests, 2400, env)
        print("%s tests ran in %.0f s" % (group, time.time() - start), file=sys.stderr,
              flush=True)
        BROKEN[group] = failures(out)
        if BROKEN[group]:
            print("already failing in %s: %s" % (group, " ".join(BROKEN[group])),
                  file=sys.stderr, flush=True)


def try_tests(tree, folder):
    """The first test that fails, or '' when every test passes."""
    tests = os.path.join(tree, "build", "tests")
    if folder != "qt":
        code, out = build(tree, [folder + "_tests"])
        if code != 0:
            return folder + "_tests does not build"
        code, out = run(test_command(tests, folder), tests, 900)
        return "" if code == 0 else folder + "." + (first_failure(out) or "exit %d" % code)
    code, out = build(tree, ["all"])
    if code != 0:
        return "the programs do not build"
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    code, out = run(test_command(tests, "qt"), tests, 2400, env)
    return "" if code == 0 else "qt." + (first_failure(out) or "exit %d" % code)


def check(tree, fault):
    name, path, old, new, folder = fault
    full = os.path.join(tree, path)
    with open(full, encoding="utf-8") as f:
        original = f.read()
    if original.count(old) != 1:
        return "fault text found %d times" % original.count(old), 0.0
    start = time.time()
    with open(full, "w", encoding="utf-8") as f:
        f.write(original.replace(old, new))
    try:
        order = ([folder] if folder else []) + [d for d in LOGIC if d != folder] + ["qt"]
        for group in order:
            caught = try_tests(tree, group)
            if caught:
                return caught, time.time() - start
        return "", time.time() - start
    finally:
        with open(full, "w", encoding="utf-8") as f:
            f.write(original)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--tree", required=True)
    ap.add_argument("--tests-from")
    ap.add_argument("--only", action="append")
    a = ap.parse_args()
    tree = os.path.abspath(a.tree)
    if a.tests_from:
        shutil.rmtree(os.path.join(tree, "tests"))
        # copyfile, not copy2: the copies get the time of now, so the build takes them even
        # where the scratch build is newer than the originals.
        shutil.copytree(os.path.join(a.tests_from, "tests"), os.path.join(tree, "tests"),
                        copy_function=shutil.copyfile)
    # A stop (Ctrl-C, kill) still restores the file being changed.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("stopped"))
    faults = [f for f in FAULTS if not a.only or f[0] in a.only]
    baseline(tree)
    caught = 0
    print("| fault | file | caught by | s |\n| --- | --- | --- | --- |", flush=True)
    for fault in faults:
        by, seconds = check(tree, fault)
        caught += bool(by) and not by.startswith("fault text")
        print("| %s | %s | %s | %.0f |" % (fault[0], fault[1], by or "**missed**", seconds),
              flush=True)
    print("\ncaught %d of %d" % (caught, len(faults)), flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
