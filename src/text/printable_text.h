#pragma once
// Text from a file or a command line shown in a message: control characters (an escape
// sequence could retitle or reprogram the user's terminal), C1 controls and bytes that are not
// UTF-8 are written as \xHH, so the message shows what is there and does nothing else.
#include <string>
#include <string_view>

namespace pa::text {

std::string printable(std::string_view text);

} // namespace pa::text
