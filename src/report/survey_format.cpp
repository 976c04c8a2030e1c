#include "report/survey_format.h"

#include <charconv>
#include <cmath>

namespace pa::report {

std::string fixed(double value, int decimals) {
    if (!std::isfinite(value))
        return "-";
    char buffer[64];
    const auto r =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    std::string text(buffer, r.ptr);
    if (text.front() == '-' && text.find_first_not_of("-0.") == std::string::npos)
        text.erase(0, 1);
    return text;
}

std::size_t utf8Length(std::string_view s) {
    const auto c = static_cast<unsigned char>(s[0]);
    const std::size_t n = c >= 0xF0 && c < 0xF5 ? 4 : c >= 0xE0 ? 3 : c >= 0xC2 && c < 0xE0 ? 2 : 0;
    if (n == 0 || s.size() < n || c >= 0xF5)
        return 0;
    for (std::size_t i = 1; i < n; ++i)
        if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80)
            return 0;
    // No overlong forms, surrogates or code points past U+10FFFF.
    const auto c1 = static_cast<unsigned char>(s[1]);
    if ((c == 0xE0 && c1 < 0xA0) || (c == 0xED && c1 >= 0xA0) || (c == 0xF0 && c1 < 0x90) ||
        (c == 0xF4 && c1 >= 0x90))
        return 0;
    return n;
}

} // namespace pa::report
