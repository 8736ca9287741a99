#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Tool {

/// Text from files and file names, fit for a terminal: control characters and bytes that are no UTF-8 become \xNN, so
/// the result is one line and steers no terminal.
std::string Printable(std::string_view text);

/// The text as a JSON string in quotes. Bytes that are no UTF-8 become U+FFFD.
std::string JsonString(std::string_view text);

/// The JSON text of a command that lists objects under `name`, beside the version and the unit that all its JSON tells.
std::string MakeJsonList(std::string const& name, std::vector<std::string> const& objects);

/// "1 layer", "2 layers".
std::string Count(unsigned long count, std::string const& singular);

/// The text without the blanks and tabs around it.
std::string TrimBlanks(std::string const& text);

/// The pieces between separators; one piece more than there are separators.
std::vector<std::string> Split(std::string_view text, char separator);

/// The pieces with `separator` between them.
std::string Join(std::vector<std::string> const& pieces, std::string_view separator);

/// The candidate that `word` is most likely a misspelling of, or an empty string if none is near.
std::string Nearest(std::string_view word, std::vector<std::string> const& candidates);

}  // namespace Tool
