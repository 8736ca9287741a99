#pragma once

#include <SliceData/slice_stack/e2DSliceStackCachingType.h>

#include <optional>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Formats.h"
#include "LayerSelection.h"
#include "Progress.h"

// The options that commands share. Each record adds itself to a command, which then fills it; it outlives the command's
// run.

namespace Tool {

/// How much a command says while it works.
struct TalkOptions {
  ProgressMode progress = ProgressMode::Auto;
  bool quiet = false;    ///< nothing but trouble
  bool verbose = false;  ///< also what is done

  void AddTo(Command& command);
};

/// A file that is read.
struct InputOptions {
  std::string path;
  std::string from;  ///< name of a format, or empty
  SliceFormats::Strictness strictness = SliceFormats::Strictness::Strict;
  LayerSelection selection;
  std::optional<e2DSliceStackCachingType> paging;  ///< the kind of stack to work over; none: slice by slice
  std::string scratch_dir;                         ///< where such a stack pages to, or empty
  bool takes_one_layer = false;                    ///< which the selection has to choose

  void AddTo(Command& command, std::string const& value_name);
  /// The same without the file, for a command that reads several.
  void AddReadingTo(Command& command);
  /// The format, and how strictly it is taken.
  void AddFormatTo(Command& command);
  void AddSelectionTo(Command& command);
  /// For a command that looks at one layer: --layer or --z.
  void AddLayerTo(Command& command);
};

/// A file that is written.
struct OutputOptions {
  std::string path;
  std::string to;               ///< name of a format, or empty
  bool force = false;           ///< an existing file may be replaced
  bool strict = false;          ///< nothing may be lost on the way
  bool shows_only = false;      ///< the file is for looking at: what it cannot keep is no matter
  PictureMarks marks;           ///< of a picture
  bool keeps_thickness = true;  ///< layers are as thick as those of the input

  void AddTo(Command& command);
  /// For a command that makes pictures.
  void AddPictureTo(Command& command, Occurs occurs = Occurs::Once);

 private:
  void _AddTo(Command& command, std::string const& value_name, std::vector<std::string> const& formats,
              std::string const& remark, Occurs occurs);
};

/// What takes a value into a string, unless it is empty.
Command::Taker Into(std::string& target);

}  // namespace Tool
