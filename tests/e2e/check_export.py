#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
# SPDX-FileCopyrightText: 2026 The Power Analyzer developers
"""Checks a CSV export against the recording it came from, reading each with its own tools.

  check_export.py csv RECORDING CSV     Python's csv module reads the export; the recording is
                                        split at its commas here, independently of the program.
                                        Every value cell must parse as a float equal to the
                                        recording's value, every row keep its line's status.
  check_export.py fods CSV FODS         a spreadsheet saved by LibreOffice from the CSV: every
                                        non-empty value cell is a number (not text) of the
                                        CSV's value.
Prints what differs and exits 1, or prints a one-line summary and exits 0.
"""
import csv
import sys
import xml.etree.ElementTree as ET

COLUMNS = ["time", "record", "W", "PF", "V", "A", "angle_deg", "VA", "VAR", "kWh", "est_kWh",
           "period", "hours_per_day", "cost", "status"]
VALUE_COLUMNS = [c for c in COLUMNS if c not in ("time", "period", "status")]
DATA_UNITS = ["W", "PF", "V", "A", "", "VA", "VAR", "KWH"]


def number(text):
    text = text.strip()
    try:
        return float(text)
    except ValueError:
        return None


def strip_unit(text, unit):
    text = text.strip()
    return text[: -len(unit)] if unit and text.endswith(unit) else text


def expected_rows(path):
    """What each line of the recording should become: {column: float or None}, status."""
    with open(path, encoding="utf-8", newline="") as f:
        lines = f.read().split("\r\n")
    for line in lines:
        stripped = line.strip()
        if not stripped or stripped.startswith("No.s,") or stripped.startswith("No.,Date"):
            continue
        if "NO COM, DATA LOST" in line:
            yield {}, "no_com"
            continue
        fields = line.split(",", 11)
        row = {}
        if len(fields) == 12:
            row["record"] = number(fields[0])
            names = ["W", "PF", "V", "A", "angle_deg", "VA", "VAR", "kWh"]
            for name, field, unit in zip(names, fields[3:11], DATA_UNITS):
                row[name] = number(strip_unit(field, unit))
            est, _, rest = fields[11].partition("/")
            row["est_kWh"] = number(est)
            _, _, last = rest.partition(" ")
            hours, _, cost = last.rpartition("$")
            row["hours_per_day"] = number(hours)
            row["cost"] = number(cost)
            values = fields[3:11]
            # VA and VAR worked out of an overloaded reading are no measurement.
            if row["V"] is None or row["A"] is None:
                row["VA"] = None
            if row["VA"] is None or row["W"] is None:
                row["VAR"] = None
        elif len(fields) == 7:
            row["record"] = number(fields[0])
            for name, field in zip(["W", "PF", "V", "A"], fields[3:7]):
                row[name] = number(field)
            values = fields[3:7]
        else:
            continue  # reported by the program as malformed
        overload = any(v.strip().lstrip("-").startswith("OL") for v in values)
        yield row, "overload" if overload else "ok"


def check_csv(recording, export):
    problems = []
    with open(export, encoding="utf-8", newline="") as f:
        rows = list(csv.reader(f))
    if rows[0] != COLUMNS:
        problems.append(f"header {rows[0]}")
    expected = list(expected_rows(recording))
    if len(rows) - 1 != len(expected):
        problems.append(f"{len(rows) - 1} rows for {len(expected)} lines")
    numbers = 0
    for n, (row, (want, status)) in enumerate(zip(rows[1:], expected), start=2):
        cells = dict(zip(COLUMNS, row))
        if len(row) != len(COLUMNS):
            problems.append(f"row {n}: {len(row)} cells")
        if cells.get("status") != status:
            problems.append(f"row {n}: status {cells.get('status')}, expected {status}")
        for column in VALUE_COLUMNS:
            cell = cells.get(column, "")
            if cell == "":
                if want.get(column) is not None:
                    problems.append(f"row {n} {column}: empty, expected {want[column]}")
                continue
            try:
                value = float(cell)
            except ValueError:
                problems.append(f"row {n} {column}: {cell!r} is not a number")
                continue
            numbers += 1
            if want.get(column) != value:
                problems.append(f"row {n} {column}: {value}, the recording has {want.get(column)}")
    return problems, f"{len(rows) - 1} rows, {numbers} numbers equal to the recording's"


def check_fods(export, fods, dates=False):
    ns = {"table": "urn:oasis:names:tc:opendocument:xmlns:table:1.0",
          "office": "urn:oasis:names:tc:opendocument:xmlns:office:1.0"}
    t = "{%s}" % ns["table"]
    o = "{%s}" % ns["office"]
    sheet = []
    for row in ET.parse(fods).getroot().iter(t + "table-row"):
        cells = []
        for cell in row:
            repeat = int(cell.get(t + "number-columns-repeated", "1"))
            value = cell.get(o + "value") or cell.get(o + "date-value")
            cells += [(cell.get(o + "value-type"), value)] * min(repeat, 64)
        sheet.append(cells)
    with open(export, encoding="utf-8", newline="") as f:
        rows = list(csv.reader(f))
    problems = []
    numbers = 0
    for n, row in enumerate(rows[1:], start=1):
        for i, column in enumerate(COLUMNS):
            if column not in VALUE_COLUMNS or row[i] == "":
                continue
            kind, value = sheet[n][i] if n < len(sheet) and i < len(sheet[n]) else (None, None)
            if kind != "float":
                problems.append(f"row {n + 1} {column}: {row[i]!r} came in as {kind}, not a number")
            elif float(value) != float(row[i]):
                problems.append(f"row {n + 1} {column}: {value} for {row[i]}")
            else:
                numbers += 1
    summary = f"{numbers} numbers read as numbers by the spreadsheet"
    if dates:
        # A workbook: every row's time stamp is a date cell, to the millisecond of the CSV's.
        stamps = 0
        for n, row in enumerate(rows[1:], start=1):
            kind, value = sheet[n][0] if n < len(sheet) and sheet[n] else (None, None)
            if kind != "date" or not row[0].startswith(value[:19]):
                problems.append(f"row {n + 1} time: {row[0]!r} came in as {kind} {value}")
            else:
                stamps += 1
        summary += f", {stamps} time stamps read as dates"
    return problems, summary


def main():
    mode, first, second = sys.argv[1:4]
    if mode == "csv":
        problems, summary = check_csv(first, second)
    else:
        problems, summary = check_fods(first, second, dates=mode == "xlsx")
    for p in problems[:20]:
        print(p)
    if problems:
        return 1
    print(summary)
    return 0


if __name__ == "__main__":
    sys.exit(main())
