#pragma once

#include <cstddef>
#include <string>

namespace orvpaint {

/// The columns that a terminal shows a text in: two for each wide character of East Asia and each picture,
/// none for marks above letters, one for any other. @param text UTF-8 without control characters.
std::size_t columnsOf(const std::string& text);

/// The text on one line of at most `columns` columns, cut in its middle where it is longer: `a long...name`.
/// Control characters are shown as escapes.
std::string cutToColumns(const std::string& text, std::size_t columns);

}  // namespace orvpaint
