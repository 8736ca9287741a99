#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <type_traits>

#include "../../tools/slicedata/Text.h"
#include "../../tools/slicedata/Trouble.h"

/// What the fuzzers of the program's values share.
namespace fuzz {

inline void Expect(bool holds) {
  if (!holds) std::abort();
}

/// What a word of a command line can be of an input: it has no zero byte.
inline std::string Argument(std::uint8_t const* data, std::size_t size) {
  return std::string(data, std::find(data, data + size, std::uint8_t{0}));
}

/// A message is one line, not much longer than its cause, and says after "; " what to do.
inline void ExpectMessage(std::string const& message, std::size_t size_of_input) {
  std::string const line = Tool::Printable(message);
  Expect(std::none_of(line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }));
  auto const advice = line.rfind("; ");
  Expect(advice != std::string::npos && advice + 2 < line.size());
  Expect(message.size() <= size_of_input + 1000);
}

/// What a parser makes of a text; nothing if it refuses it as it should.
template <class Parse>
std::optional<std::invoke_result_t<Parse, std::string const&>> Read(std::string const& text, Parse const& parse) {
  try {
    return parse(text);
  } catch (Tool::Trouble const& trouble) {
    ExpectMessage(trouble.what(), text.size());
    return std::nullopt;
  }
}

}  // namespace fuzz
