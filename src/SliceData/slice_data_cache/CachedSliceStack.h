#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/properties/FileContent.h>
#include <SliceData/platform/sax/MDocumentTag.h>
#include <SliceData/slice_data_cache/CachedSliceStackKeyInfo.h>
#include <SliceData/slice_model/M2DSliceZArea.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <boost/shared_ptr.hpp>
#include <memory>
#include <vector>

namespace SliceDataCaching {

/// Slice stacks that are kept under a key, so that a part that comes up again need not be sliced again.
///
/// Each stack rests in memory, in a document of its own, or in both. One that has only its document is read when it is
/// first asked for. **A document does not follow changes**: once both are there, what is changed in memory is neither
/// written by a save nor found after `ReleaseLoadedData`. Who is about to change a stack therefore gives up its
/// document first, by `ValidateLoadedData(true)` while the stack is not loaded yet, or by emptying
/// `Data::m_file_content` of a stack that is loaded. `SetSlice` does the former: after a read access to the entry the
/// latter is up to the caller. A save makes a document of every stack that has none, so this holds after it, too.
///
/// Positions may differ from that of the key by a translation, which is made good for each slice that comes or goes, in
/// whole internal units (0.1 µm): fractions of the difference are cut off. A position of another orientation must not
/// be given; `CachedSliceStackSelectorDefault` finds none.
///
/// No operation takes a lock, and those that are const load data: one thread at a time.
class VELSDK_EXPORT CachedSliceStack : public CachedSliceStackKeyInfo {
 public:
  /// One stored stack. At least one of its two forms is expected to be there.
  struct VELSDK_EXPORT Data {
    /// The stack in memory; an empty one of the default caching strategy at first. Never null.
    struct VELSDK_EXPORT LoadedData {
      LoadedData();
      ~LoadedData();

      boost::shared_ptr<M2DSliceStack> m_stack;
    };

    Data();
    ~Data();
    Data(Data const&) = delete;
    Data& operator=(Data const&) = delete;

    /// Reads the stack from its document unless it is loaded. Without a document the stack is empty.
    ///
    /// \param release_file  gives the document up, even if it could not be read, for who is about to change the stack.
    ///                      Does nothing if the stack is loaded already: then empty `m_file_content` instead.
    /// \return false if the document could not be read to its end; the stack is loaded then, with what was read of it,
    ///         and the next call gives true
    ///
    /// Throws what comes from the disk, from the database document in which the stack rests, and from memory that runs
    /// out. The stack is not loaded then and the document stays, so that a later call tries again.
    bool ValidateLoadedData(bool release_file);

    /// Makes a document for the stack unless there is one, which stays as it is, even if the stack has changed since.
    ///
    /// \param write  true: the document holds the stack, or nothing if none is loaded; false: it is an empty file
    /// \return true. Throws what comes from the disk; then there is no document, as before.
    bool ValidateTempFile(bool write) const;

    std::unique_ptr<LoadedData> m_loaded_data;                   ///< null: not in memory
    mutable std::unique_ptr<VelAM::FileContent> m_file_content;  ///< null: no document
  };

  /// An entry for that key with nothing cached.
  explicit CachedSliceStack(CachedSliceStackKeyInfo const& key);
  ~CachedSliceStack() override;
  /// Copies share the stored stacks.
  CachedSliceStack(CachedSliceStack const&);
  CachedSliceStack& operator=(CachedSliceStack const&);

  CachedSliceStackKeyInfo const& GetKeyInfo() const { return *this; }

  /// What is kept of the cached slices, as opposed to their key: the used positions, and what hosts add.
  PersistentProperties& GetProperties() { return m_stack_properties; }
  PersistentProperties const& GetProperties() const { return m_stack_properties; }

  /// Does `Data::ValidateLoadedData` for every stored stack. True if all give true.
  bool ValidateLoadedData(bool release_file);

  /// Drops from memory every stack whose document is at hand, so that a walk over many entries takes the memory of one.
  /// Changes that were made in memory after the document go with it. Who shares a stack keeps it.
  ///
  /// \return true if any was dropped
  bool ReleaseLoadedData();

  /// The first stored stack; all are loaded. Throws `std::runtime_error` if nothing is cached. A document that could
  /// not be read to its end is not told: ask `ValidateLoadedData` first.
  M2DSliceStack& GetStack();
  M2DSliceStack const& GetStack() const;
  /// All stored stacks, loaded. None if nothing is cached.
  std::vector<boost::shared_ptr<M2DSliceStack>> GetStacks() const;

  /// Copies a slice of the first stored stack.
  ///
  /// \param slice     gets the geometry, moved to `position`; its Z area only if it had none
  /// \param z_area    the z at which the slice lies at `position`, in internal units
  /// \param position  of the part; null is the key's own
  /// \return false, with `slice` untouched, if there is no slice at that height
  ///
  /// Throws `std::runtime_error` if nothing is cached. As with `M2DSliceUtilities::Translate`, area contours are not
  /// moved, and points are placed at the offset.
  bool GetSlice(M2DSlice& slice, M2DSliceZArea const& z_area, MMTransformMatrix const* position) const;

  /// Puts a copy of a slice into the first stored stack, moved back to the key's own position, in place of the slice at
  /// its height. Parameters and errors as for `GetSlice`. Gives up the document of a stack that is not loaded yet, even
  /// one that could not be read to its end; see above for a stack that is loaded.
  ///
  /// \return true
  bool SetSlice(M2DSlice const& slice, M2DSliceZArea const& z_area, MMTransformMatrix const* position);

  /// Replaces all stored stacks by these, which are shared and not copied, and notes the identity as a used position.
  /// Slices that wait for an initial source are saved empty: fill such a stack first, with
  /// `M2DSliceStackUtilities::ConvertSourceToSliceStack`.
  ///
  /// \param stacks    none of them null
  /// \param z_info    has no effect: the recipe of the key stays
  /// \param position  has no effect: the stacks are taken to be at the key's own position
  /// \return true
  bool SetSliceStack(std::vector<boost::shared_ptr<M2DSliceStack>> const& stacks, M2DSliceZAreaTypeInfo const& z_info,
                     MMTransformMatrix const* position);

  /// Notes that the slices were used at this position, unless one within 1e-6 in every element is noted already.
  void AddUsedPosition(MMTransformMatrix const& position);
  /// The positions noted so far replace the content of `positions`. They are valid until properties of the entry go.
  void GetUsedPositions(std::vector<MMTransformMatrix const*>& positions) const;

  /// `result` becomes the translation that `GetSlice` makes good: from the key's position to `position`, in whole
  /// internal units; the identity for null.
  void GetAdditionalTransformation(MMTransformMatrix const* position, MMTransformMatrix& result) const;

  /// Notes that the entry is what a tag of a database document holds.
  void _SetSource(MDocumentTag const& source);
  /// That tag, if the entry is still the same: it may hold more than is known here. None otherwise. Throws what comes
  /// from the disk.
  MDocumentTag _GetSource() const;

  /// One for each stored stack, none of them null. Empty: nothing is cached yet.
  std::vector<std::shared_ptr<Data>> m_data;

 private:
  struct Offset;
  struct AsRead;

  Data& _GetFirstData() const;
  Offset _GetOffset(MMTransformMatrix const* position) const;

  PersistentProperties m_stack_properties;
  std::shared_ptr<AsRead const> m_as_read;  ///< null: it comes from no document
};

}  // namespace SliceDataCaching
