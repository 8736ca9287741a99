#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace SliceFormats {

/// The commands of the binary form.
enum class CliBinaryCommand : std::uint16_t {
  LayerLong = 127,
  LayerShort = 128,
  PolylineShort = 129,
  PolylineLong = 130,
  HatchesShort = 131,
  HatchesLong = 132,
};

/// Where values stand in the binary form, in bytes: long ones (32 bits) follow each other, short ones (16 bits) may
/// have fill bytes behind them.
struct CliBinaryLayout {
  std::uint8_t short_header = 2;  ///< from the begin of a short command to its first value
  std::uint8_t long_header = 2;   ///< from the begin of a long command to its first value
  std::uint8_t short_stride = 2;  ///< from one short value to the next
  std::uint8_t command_unit = 1;  ///< every command takes a multiple of this

  long long RoundUp(long long size) const { return (size + command_unit - 1) / command_unit * command_unit; }
};

/// A command and its values before the coordinates.
struct CliBinaryHead {
  static constexpr int kMaxSize = 16;

  CliBinaryCommand command;
  bool is_long;
  int size;                  ///< bytes before the first coordinate
  long id = 0;               ///< polylines and hatches
  long direction = 0;        ///< polylines
  long count = 0;            ///< points or vectors; may be absurd
  int values_per_count = 0;  ///< coordinates of one point or vector; 1 for the z of a layer, whose count is 1
  int stride;                ///< bytes from one coordinate to the next

  /// Bytes from the begin of the command up to the last coordinate, fill bytes behind it not counted. The count is not
  /// negative and fits into 32 bits.
  long long GetSize() const {
    long long const num_values = static_cast<long long>(count) * values_per_count;
    return num_values == 0 ? size : size + (num_values - 1) * stride + (is_long ? 4 : 2);
  }
};

namespace CliBinary {

// Files are little-endian, and so is every machine this is built for.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

template <class Value>
Value Load(char const* bytes) {
  Value value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// How many bytes the head of the command takes, or 0 if the command is unknown.
inline int GetHeadSize(std::uint16_t command, CliBinaryLayout const& layout) {
  switch (static_cast<CliBinaryCommand>(command)) {
    case CliBinaryCommand::LayerLong:
      return layout.long_header;
    case CliBinaryCommand::LayerShort:
      return layout.short_header;
    case CliBinaryCommand::PolylineShort:
      return layout.short_header + 3 * layout.short_stride;
    case CliBinaryCommand::PolylineLong:
      return layout.long_header + 3 * 4;
    case CliBinaryCommand::HatchesShort:
      return layout.short_header + 2 * layout.short_stride;
    case CliBinaryCommand::HatchesLong:
      return layout.long_header + 2 * 4;
  }
  return 0;
}

/// Reads the head of a known command, all of whose bytes are there.
inline CliBinaryHead DecodeHead(char const* bytes, CliBinaryLayout const& layout) {
  auto const number = Load<std::uint16_t>(bytes);
  CliBinaryHead head{};
  head.command = static_cast<CliBinaryCommand>(number);
  head.is_long = head.command == CliBinaryCommand::LayerLong || head.command == CliBinaryCommand::PolylineLong ||
                 head.command == CliBinaryCommand::HatchesLong;
  head.size = GetHeadSize(number, layout);
  head.stride = head.is_long ? 4 : layout.short_stride;
  char const* const values = bytes + (head.is_long ? layout.long_header : layout.short_header);
  auto const value = [&](int i) -> long {
    return head.is_long ? Load<std::int32_t>(values + 4 * i) : Load<std::uint16_t>(values + layout.short_stride * i);
  };
  switch (head.command) {
    case CliBinaryCommand::LayerLong:
    case CliBinaryCommand::LayerShort:
      head.count = head.values_per_count = 1;
      break;
    case CliBinaryCommand::PolylineShort:
    case CliBinaryCommand::PolylineLong:
      head.id = value(0);
      head.direction = value(1);
      head.count = value(2);
      head.values_per_count = 2;
      break;
    case CliBinaryCommand::HatchesShort:
    case CliBinaryCommand::HatchesLong:
      head.id = value(0);
      head.count = value(1);
      head.values_per_count = 4;
      break;
  }
  return head;
}

/// Reads the head of the command at `bytes`: `available` bytes are in memory, `left` in the whole file. Returns what is
/// wrong with it, or null if it is whole; `head` and `total`, the bytes up to the next command, hold then.
inline char const* ReadHead(char const* bytes, long long available, long long left, CliBinaryLayout const& layout,
                            CliBinaryHead& head, long long& total) {
  constexpr char const* kCut = "the file ends in the middle of a command; copy or export it again";
  if (available < 2) return kCut;
  int const head_size = GetHeadSize(Load<std::uint16_t>(bytes), layout);
  if (head_size == 0) return "unknown command; the file is damaged, export it again";
  if (available < head_size) return kCut;
  head = DecodeHead(bytes, layout);
  if (head.count < 0) return "negative number of points; the file is damaged, export it again";
  if (head.direction < 0 || head.direction > 2)
    return "direction of a polyline is not 0, 1 or 2; export the file again";
  if (head.GetSize() > left) return kCut;
  total = std::min(layout.RoundUp(head.size + static_cast<long long>(head.count) * head.values_per_count * head.stride),
                   left);
  return nullptr;
}

}  // namespace CliBinary

}  // namespace SliceFormats
