#pragma once

#include <cerrno>
#include <cstddef>
#include <string>
#include <unistd.h>

// Reading and writing of descriptors that goes on after a signal and after a part.

/// False if not all of it could be written; `errno` says why.
inline bool WriteFully(int descriptor, char const* data, std::size_t size, long long offset) {
  while (size != 0) {
    ssize_t const written = ::pwrite(descriptor, data, size, offset);
    if (written < 0 && errno == EINTR) continue;
    if (written == 0) errno = ENOSPC;
    if (written <= 0) return false;
    data += written;
    size -= static_cast<std::size_t>(written);
    offset += written;
  }
  return true;
}

/// The first bytes of a file, `limit` at most. False if they cannot be read; `errno` says why.
inline bool ReadStart(int descriptor, std::size_t limit, std::string& text) {
  text.resize(limit);
  std::size_t size = 0;
  while (size < limit) {
    ssize_t const got = ::pread(descriptor, &text[size], limit - size, static_cast<long long>(size));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) break;
    size += static_cast<std::size_t>(got);
  }
  text.resize(size);
  return true;
}
