#include "NumberTable.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "Length.h"
#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// What a message can show of a text that may be anything.
std::string Quote(std::string const& text) {
  return "'" + Shorten(text, 60) + "'";
}

}  // namespace

void ReadNumberTable(std::string const& path, std::size_t num_cells, std::string const& example,
                     std::function<void(std::vector<double> const& numbers)> const& take) {
  std::error_code ignored;
  auto const type = std::filesystem::status(path, ignored).type();
  if (type == std::filesystem::file_type::not_found) throw Trouble(path, "there is no such file", "check the name");
  if (type != std::filesystem::file_type::regular) throw Trouble(path, "it is no regular file", "name a table");
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::system_error(errno, std::generic_category(), path + ": cannot be read");

  std::vector<double> numbers;
  bool is_empty = true;
  std::string line;
  for (unsigned long line_number = 1; std::getline(file, line); ++line_number) {
    auto const get_place = [&] { return path + ": line " + std::to_string(line_number); };
    auto const refuse = [&](std::string const& wrong) {
      return Trouble(get_place(), wrong,
                     "write " + std::to_string(num_cells) + " numbers with commas, like " + example);
    };
    if (line_number == 1 && line.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0) {
      line.erase(0, kByteOrderMark.size());
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (TrimBlanks(line).empty()) continue;
    auto const cells = Split(line, ',');
    if (cells.size() != num_cells) throw refuse(Quote(line) + " has " + Count(cells.size(), "cell"));
    numbers.clear();
    for (std::string const& cell : cells) {
      auto const number = FindNumber(TrimBlanks(cell));
      if (!number) throw refuse(Quote(cell) + " is no number");
      numbers.push_back(*number);
    }
    try {
      take(numbers);
    } catch (Trouble const& trouble) {
      throw std::runtime_error(get_place() + ": " + trouble.what());
    }
    is_empty = false;
  }
  if (file.bad()) throw std::system_error(errno, std::generic_category(), path + ": cannot be read");
  if (is_empty) throw Trouble(path, "there is nothing in it", "write lines of numbers, like " + example);
}

}  // namespace Tool
