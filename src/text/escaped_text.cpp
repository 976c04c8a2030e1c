// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#include "text/escaped_text.h"

namespace pa::text {
namespace {

void appendEscaped(std::string& out, std::string_view bytes) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    for (const char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        out += {'\\', 'x', kHex[b >> 4], kHex[b & 15]};
    }
}

} // namespace

std::size_t utf8Sequence(std::string_view s, char32_t& cp) {
    const auto b0 = static_cast<unsigned char>(s[0]);
    std::size_t length = b0 < 0x80                 ? 1
                         : b0 >= 0xC2 && b0 < 0xE0 ? 2
                         : b0 >= 0xE0 && b0 < 0xF0 ? 3
                         : b0 >= 0xF0 && b0 < 0xF5 ? 4
                                                   : 0;
    if (length == 0 || length > s.size())
        return 0;
    cp = length == 1 ? b0 : b0 & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto b = static_cast<unsigned char>(s[i]);
        if ((b & 0xC0) != 0x80)
            return 0;
        cp = (cp << 6) | (b & 0x3F);
    }
    // Overlong forms, surrogates and values past Unicode are not UTF-8.
    static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (cp < kSmallest[length] || (cp >= 0xD800 && cp < 0xE000) || cp > 0x10FFFF)
        return 0;
    return length;
}

std::string printable(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        char32_t cp = 0;
        const std::size_t n = utf8Sequence(text, cp);
        const bool control = cp < 0x20 || (cp >= 0x7F && cp < 0xA0);
        if (n == 0)
            appendEscaped(out, text.substr(0, 1));
        else if (control)
            appendEscaped(out, text.substr(0, n));
        else
            out.append(text.substr(0, n));
        text.remove_prefix(n == 0 ? 1 : n);
    }
    return out;
}

} // namespace pa::text
