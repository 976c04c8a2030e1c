// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "live/frame_decoder.h"

#include <array>
#include <cstdint>

namespace pa::live {
namespace {

struct CodeRow {
    int code;
    const char* function;
    const char* range;
};

// The instrument's function/range codes: the high bits select the function, single low
// bits the range. Codes not listed read as "?". The temperature ranges end in the two
// characters the instrument's program stores for its two temperature scales.
constexpr std::array<CodeRow, 41> kCodes{{
    {0, "DCV", "200mV"},        {1, "DCV", "2V"},          {2, "DCV", "20V"},
    {3, "DCV", "200V"},         {4, "DCV", "1000V"},       {5, "FREQ", "KHz"},
    {6, "DIODE", ""},           {8, "RES", "200Ohm"},      {9, "RES", "2KOhm"},
    {10, "RES", "20KOhm"},      {12, "RES", "200KOhm"},    {16, "RES", "2MOhm"},
    {17, "RES", "20MOhm"},      {18, "CAP", "20uF"},       {20, "CAP", "2uF"},
    {24, "CAP", "200nF"},       {32, "CAP", "2000pF"},     {33, "DCA", "20A"},
    {34, "DCA", "200mA"},       {36, "DCA", "20mA"},       {40, "DCA", "2mA"},
    {48, "DCA", "200uA"},       {49, "DCA", "2A"},         {64, "TEMP", "200\u868C"},
    {65, "TEMP", "2000\u868C"}, {66, "TEMP", "200\u8693"}, {68, "TEMP", "2000\u8693"},
    {128, "ACV", "200mV"},      {129, "ACV", "2V"},        {130, "ACV", "20V"},
    {131, "ACV", "200V"},       {132, "ACV", "750V"},      {161, "ACA", "20A"},
    {162, "ACA", "200mA"},      {164, "ACA", "20mA"},      {168, "ACA", "2mA"},
    {176, "ACA", "200uA"},      {192, "W", "200W"},        {193, "W", "2000W"},
    {208, "PF", "1.000"},       {255, "HOLD", nullptr},
}};

// The program's digit table: a nibble n is looked up as the character 48 + n in the first
// string and replaced by the character at the same place in the second, which reverses its
// bits. Reversed values 10..15 give the non-digits ":;<=>?" that the check below rejects.
constexpr std::string_view kNibbleKeys = "0123456789:;<=>?";
constexpr std::string_view kNibbleDigits = "084<2:6>195=3;7?";
constexpr std::string_view kDisplayChars = " -0123456789.";

int byteAt(std::string_view s, std::size_t i) {
    return i < s.size() ? static_cast<unsigned char>(s[i]) : 0;
}

} // namespace

void DecodeFunctionCode(std::string_view block, BlockReading& reading) {
    const int code = byteAt(block, 0);
    reading.hold = false;
    for (const CodeRow& row : kCodes) {
        if (row.code != code)
            continue;
        reading.function = row.function;
        if (row.range)
            reading.range = row.range;
        else
            reading.hold = true; // HOLD keeps the range of the previous block
        return;
    }
    reading.function = "?";
    reading.range = "?";
}

void DecodeBlockValue(std::string_view wordBytes, BlockReading& reading) {
    const std::uint16_t w =
        static_cast<std::uint16_t>(byteAt(wordBytes, 0) + 256 * byteAt(wordBytes, 1));
    const bool bit0 = w & 1;

    std::string text;
    if (reading.function == "FREQ") {
        reading.range = bit0 ? "MHz" : "KHz";
        text = " "; // a frequency is never negative; the negative flag is left alone
    } else {
        reading.negative = bit0 ? 0 : 1;
        text = bit0 ? " " : "-";
    }
    text += (w & 2) ? '1' : ' ';
    for (int shift : {2, 6, 10}) {
        const int nibble = (w >> shift) & 0xF;
        text += kNibbleDigits[kNibbleKeys.find(static_cast<char>('0' + nibble))];
    }

    switch ((w >> 14) & 3) {
    case 0:
        reading.decimals = 0;
        break;
    case 1: // sign, half digit, first digit . two digits
        text.insert(3, ".");
        reading.decimals = 2;
        break;
    case 2: // sign, half digit, two digits . one digit
        text.insert(4, ".");
        reading.decimals = 1;
        break;
    case 3: // sign, half digit . three digits
        text.insert(2, ".");
        reading.decimals = 3;
        break;
    }

    if (text.find_first_not_of(kDisplayChars) != std::string::npos)
        text.clear();
    if (!text.empty())
        reading.value = text;
    else if ((w & 63) == 63)
        reading.value = "Init"; // the instrument's start-up pattern
    else
        reading.value = reading.negative ? "-OL" : "OL";
}

void DecodeBlock(std::string_view block, BlockReading& reading) {
    DecodeFunctionCode(block, reading);
    DecodeBlockValue(block.size() > 1 ? block.substr(1, 2) : std::string_view{}, reading);
}

} // namespace pa::live
