#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {

/// Text from files and file names, fit for a terminal: one line that steers nothing and hides nothing. Characters that
/// control, cannot be seen or turn the direction of writing become \u{N}, bytes that are no UTF-8 become \xNN.
std::string Printable(std::string_view text);

/// Room for the printable form of a character.
using PrintableRoom = std::array<char, 12>;
/// Takes the first character off a text that is not empty. Its printable form lies in the text or in `room`.
std::string_view TakePrintable(std::string_view& text, PrintableRoom& room);

/// The printable text; what is longer than `width` characters loses its middle.
std::string Shorten(std::string_view text, std::size_t width);

/// Rows of as many cells each, two blanks apart. The cells of a column are equally wide, and none is wider than 60
/// characters: one long name would make every row long.
/// \param num_left  of the columns that are aligned to the left; the others are to the right
std::string MakeTable(std::vector<std::vector<std::string>> const& rows, std::size_t num_left);

/// The text as a JSON string in quotes. What is not shown as it is by `Printable` becomes \uNNNN; bytes that are no
/// UTF-8 become U+FFFD.
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
