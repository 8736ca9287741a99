#pragma once

/// Something that can be asked to give memory back.
class IReleaseableMemory {
 public:
  /// `only_if_unused` true: releases only if nothing in the memory is in use. False: releases unconditionally.
  virtual void ReleaseMemory(bool only_if_unused) = 0;

 protected:
  ~IReleaseableMemory() = default;
};
