// Reads any bytes as a table of numbers. The first byte tells how many a line has. A table that is written in another
// way reads the same; of one that is refused, the lines before the one that is named are right.

#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include "../../tools/slicedata/Length.h"
#include "../../tools/slicedata/NumberTable.h"
#include "ValueParsers.h"

using fuzz::Expect;

namespace {

struct Result {
  std::vector<std::vector<double>> rows;
  std::string error;
};

/// Lines that begin with a negative number are refused by who takes them.
Result ReadTable(std::string const& text, std::size_t num_cells) {
  static int const file = memfd_create("table", 0);
  static std::string const path = "/proc/self/fd/" + std::to_string(file);
  auto const size = static_cast<ssize_t>(text.size());
  if (ftruncate(file, 0) != 0 || pwrite(file, text.data(), text.size(), 0) != size) std::abort();
  Result result;
  try {
    Tool::ReadNumberTable(path, num_cells, "1,2", [&](std::vector<double> const& numbers) {
      Expect(numbers.size() == num_cells &&
             std::all_of(numbers.begin(), numbers.end(), [](double number) { return std::isfinite(number); }));
      if (numbers[0] < 0) throw Tool::Trouble("", "it is below 0", "give more");
      result.rows.push_back(numbers);
    });
    Expect(!result.rows.empty());
  } catch (std::system_error const&) {
    std::abort();
  } catch (std::runtime_error const& error) {
    result.error = error.what();
    Expect(result.error == Tool::Printable(result.error) && result.error.size() < 1000);
    fuzz::ExpectMessage(result.error, 0);
    Expect(result.error.compare(0, path.size() + 2, path + ": ") == 0);
    result.error.erase(0, path.size() + 2);
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size == 0) return 0;
  std::size_t const num_cells = data[0] % 4 + 1u;
  std::string const text(data + 1, data + size);
  Result const result = ReadTable(text, num_cells);
  Expect(result.rows.size() <= Tool::Split(text, '\n').size());

  if (result.error.empty()) {
    Expect(text.find('\xEF', 1) == std::string::npos);  // a byte order mark stands in front
    std::string again = "\xEF\xBB\xBF\r\n";
    for (auto const& row : result.rows) {
      for (double const number : row) again += "\t " + Tool::FormatNumber(number) + " ,";
      again.back() = '\r';
      again += "\n \n";
    }
    Expect(ReadTable(again, num_cells).rows == result.rows);
  } else if (result.error.compare(0, 5, "line ") == 0) {
    auto lines = Tool::Split(text, '\n');
    std::size_t const number = std::stoul(result.error.substr(5));
    Expect(number >= 1 && number <= lines.size());
    lines.resize(number);
    Expect(ReadTable(Tool::Join(lines, "\n"), num_cells).error == result.error);
    lines.pop_back();
    Result const before = ReadTable(Tool::Join(lines, "\n"), num_cells);
    Expect(before.rows == result.rows && before.error.compare(0, 5, "line ") != 0);
  } else {
    Expect(result.rows.empty() && text.find_first_of("0123456789") == std::string::npos);
  }
  return 0;
}
