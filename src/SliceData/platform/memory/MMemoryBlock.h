#pragma once

/// A block of the shared block pool in the hands of an element pool.
///
/// Its first word holds the block's index in the list of its owner, so that an element finds that index by masking its
/// own address.
struct MMemoryBlock {
  void* memory = nullptr;
};
