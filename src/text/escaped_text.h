// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// Text from a file, a device or a command line on its way out, escaped for where it goes.
#include <string>
#include <string_view>

namespace pa::text {

// The length of the UTF-8 sequence s begins with (and its code point), or 0 when it begins
// with none (a stray byte, an overlong form, a surrogate, past U+10FFFF, cut short).
std::size_t utf8Sequence(std::string_view s, char32_t& codePoint);

// For a message on a terminal: control characters (an escape sequence could retitle or
// reprogram the user's terminal), C1 controls and bytes that are not UTF-8 are written as
// \xHH, so the message shows what is there and does nothing else.
std::string printable(std::string_view text);

} // namespace pa::text
