#pragma once

#include <SliceData/slice_stack/ISource2DSlices.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/FormatReport.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Formats.h"
#include "Options.h"

namespace Tool {

/// The slices that a command reads, and what their format has skipped.
class Input {
 public:
  /// Opens the file and applies the selection.
  explicit Input(InputOptions const& options);
  /// Slices that come from elsewhere than from one file. The selection and the paging are applied.
  /// \param name   what messages call the source
  /// \param parts  the inputs that the source reads
  Input(InputOptions const& options, std::string name, std::unique_ptr<ISource2DSlices const> source,
        std::vector<std::unique_ptr<Input>> parts = {});
  Input(Input const&) = delete;
  Input& operator=(Input const&) = delete;

  std::string const& GetName() const { return m_name; }
  /// What the file is. Not for an input without a file.
  Format const& GetFormat() const { return *m_format; }
  /// The selected slices.
  ISource2DSlices const& GetSource() const;
  /// The stack that holds them, or null if they are read as they are asked for.
  M2DSliceStack* GetStack() const { return m_stack.get(); }
  Origin GetOrigin() const;
  /// The number in the whole file of a selected slice.
  unsigned long GetLayer(unsigned long index) const;
  SliceFormats::FormatReport const& GetReport() const { return m_report; }
  std::vector<std::unique_ptr<Input>> const& GetParts() const { return m_parts; }

 private:
  void _Select(InputOptions const& options);

  std::string m_name;
  SliceFormats::FormatReport m_report;
  std::string m_title;
  Format const* m_format = nullptr;     ///< null without a file
  std::vector<unsigned long> m_layers;  ///< the selected ones; none if all are
  std::vector<std::unique_ptr<Input>> m_parts;
  std::unique_ptr<ISource2DSlices const> m_file;
  std::unique_ptr<ISource2DSlices const> m_selected;  ///< null for all
  std::unique_ptr<M2DSliceStack> m_stack;             ///< null without paging
};

/// The step from each layer to the next, if it is the same for all and goes upward; 0 otherwise.
long FindLayerStep(ISource2DSlices const& source);

/// Takes over the properties of a source, the thickness of a layer among them as a stack has it.
void TakeProperties(ISource2DSlices const& source, PersistentProperties& properties);

/// \param layer  the number of the slice in the whole file
using SliceVisitor = std::function<void(M2DSlice& slice, unsigned long layer)>;

/// Reads the slices of the input one after the other, tells progress, and calls `visit` with each of them.
void ForEachSlice(Input const& input, TalkOptions const& talk, SliceVisitor const& visit);

/// Tells what the format of the input, and of each of its parts, has skipped.
void TellSkipped(Input const& input, TalkOptions const& talk);

/// A file in the making, from the slices of an input. It appears under its name when it is finished; without that, none
/// is left.
class Output {
 public:
  /// \param input    where the slices come from; outlives this
  /// \param path     of the file, which `CheckOutputPath` has let pass
  /// \param options  how it is written; outlives this
  Output(Input const& input, Format const& format, std::string path, OutputOptions const& options);
  Output(Output const&) = delete;
  Output& operator=(Output const&) = delete;

  /// Appends a slice, whose content is gone afterwards. Under `strict`, throws `Trouble` if it cannot be kept whole.
  void Add(M2DSlice& slice);
  /// Writes everything, so that `Finish` only has to give the file its name.
  void Seal();
  void Finish();
  std::string const& GetPath() const { return m_path; }
  /// Tells what was written, and what could not be kept.
  void Tell(TalkOptions const& talk) const;

 private:
  void _RefuseIfFalse(bool accepted) const;
  void _RefuseLosses() const;

  Input const& m_input;
  Format const& m_format;
  std::string m_path;
  OutputOptions const& m_options;
  SliceFormats::FormatReport m_report;
  std::unique_ptr<SliceFormats::FileTarget> m_target;
  unsigned long m_num_slices = 0;
};

/// What becomes of a file that has the name of an output.
MPendingFile::Existing GetExisting(OutputOptions const& options);

/// Throws `Trouble` for a path that must not be written to: of what is no file, of a file that the command reads, or of
/// any other that is there, unless `force` lets it be replaced.
/// \param inputs  all files that the command reads
void CheckOutputPath(std::string const& path, std::vector<std::string> const& inputs, OutputOptions const& options);

/// The checks of an output that need no input yet, so that a command fails before it has worked.
/// \param inputs  as above
/// \return the format to write
Format const& CheckOutput(OutputOptions const& options, std::vector<std::string> const& inputs);

/// Streams the slices of the input into a file, one in memory, each through `change` if given, and tells about it.
/// \param format  what to write, from `CheckOutput`
void WriteSlices(Input const& input, Format const& format, OutputOptions const& options, TalkOptions const& talk,
                 SliceVisitor const& change = nullptr);

}  // namespace Tool
