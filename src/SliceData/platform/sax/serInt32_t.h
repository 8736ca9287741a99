#pragma once

#include <cstdint>

/// One signed 32-bit integer of a binary value: what to write, or where to read it to. Little-endian in documents.
class serInt32_t {
 public:
  /// For writing.
  explicit serInt32_t(std::int32_t value) : m_value(value) {}
  /// For reading; `target` outlives this.
  explicit serInt32_t(std::int32_t* target) : m_target(target) {}

  std::int32_t GetValue() const { return m_value; }
  void SetValue(std::int32_t value) const { *m_target = value; }

 private:
  std::int32_t m_value = 0;
  std::int32_t* m_target = nullptr;
};
