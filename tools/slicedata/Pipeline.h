#pragma once

#include <SliceData/slice_stack/ISource2DSlices.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/FormatReport.h>

#include <functional>
#include <memory>
#include <string>

#include "Formats.h"
#include "Options.h"

namespace Tool {

/// The slices that a command reads, and what their format has skipped.
class Input {
 public:
  /// Opens the file and applies the selection.
  explicit Input(InputOptions const& options);
  /// \param name    what messages call the source
  /// \param source  makes the slices itself, without a file
  Input(std::string name, std::unique_ptr<ISource2DSlices const> source);
  Input(Input const&) = delete;
  Input& operator=(Input const&) = delete;

  std::string const& GetName() const { return m_name; }
  /// The selected slices.
  ISource2DSlices const& GetSource() const;
  /// The stack that holds them, or null if they are read as they are asked for.
  M2DSliceStack* GetStack() const { return m_stack.get(); }
  Origin GetOrigin() const;
  SliceFormats::FormatReport const& GetReport() const { return m_report; }

 private:
  std::string m_name;
  SliceFormats::FormatReport m_report;
  std::string m_title;
  unsigned long m_first_layer = 0;
  std::unique_ptr<ISource2DSlices const> m_file;
  std::unique_ptr<ISource2DSlices const> m_selected;  ///< null for all
  std::unique_ptr<M2DSliceStack> m_stack;             ///< null without paging
};

using SliceVisitor = std::function<void(M2DSlice& slice)>;

/// Reads the slices of the input one after the other, tells progress, and calls `visit` with each of them.
void ForEachSlice(Input const& input, TalkOptions const& talk, SliceVisitor const& visit);

/// Tells what the input's format has skipped.
void TellSkipped(Input const& input, TalkOptions const& talk);

/// The checks of an output that need no input yet, so that a command fails before it has worked.
/// \return the format to write
Format const& CheckOutput(OutputOptions const& options);

/// Streams the slices of the input into a file, one in memory, each through `change` if given. Tells what could not be
/// kept; if `strict` asks for it, that is a `Trouble` and there is no file. \param format  what to write, from
/// `CheckOutput`
void WriteSlices(Input const& input, Format const& format, OutputOptions const& options, TalkOptions const& talk,
                 SliceVisitor const& change = nullptr);

}  // namespace Tool
