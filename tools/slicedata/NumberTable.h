#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Tool {

/// Reads a table in CSV form: lines of `num_cells` numbers with commas between them. Blank lines do not count.
///
/// \param take  is given the numbers of each line, in the order of the file; it may throw `Trouble`, in front of which
///              file and line are put
/// \throws Trouble that names file and line for anything that is no such line, and for a table without any
void ReadNumberTable(std::string const& path, std::size_t num_cells, std::string const& example,
                     std::function<void(std::vector<double> const& numbers)> const& take);

}  // namespace Tool
