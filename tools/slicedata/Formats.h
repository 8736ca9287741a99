#pragma once

#include <SliceData/slice_stack/ISource2DSlices.h>
#include <SliceFormats/FileTarget.h>
#include <SliceFormats/FormatReport.h>
#include <SliceFormats/Strictness.h>

#include <memory>
#include <string>
#include <vector>

namespace Tool {

/// Where slices come from, for what a format takes over from there.
struct Origin {
  ISource2DSlices const& source;  ///< a format that comes in several forms takes that of its origin
  std::string title;              ///< for people
  unsigned long first_layer;      ///< the number of the first slice there
};

/// What a picture shows beside the geometry, and by which colours.
struct PictureMarks {
  bool start_points = false;
  bool directions = false;
  bool areas = false;  ///< colours tell areas apart instead of types
};

/// A kind of file that the program reads, writes or both.
struct Format {
  using OpenSource = std::unique_ptr<ISource2DSlices const> (*)(std::string const& path,
                                                                SliceFormats::FormatReport* report,
                                                                SliceFormats::Strictness strictness);
  using OpenTarget = std::unique_ptr<SliceFormats::FileTarget> (*)(std::string const& path, Origin const& origin,
                                                                   PictureMarks const& marks,
                                                                   SliceFormats::FormatReport* report);

  char const* name;
  char const* extension;   ///< with the dot; the first format of an extension is the one it stands for
  OpenSource open_source;  ///< null if it is not read
  OpenTarget open_target;  ///< null if it is not written
  bool is_picture;
};

/// The format of the file at `path`: the one called `name`, or that of the file's extension if the name is empty. Throw
/// `Trouble` that lists the formats if there is none.
Format const& FindReadFormat(std::string const& path, std::string const& name);
Format const& FindWriteFormat(std::string const& path, std::string const& name);
Format const& FindPictureFormat(std::string const& path, std::string const& name);

std::vector<std::string> GetReadFormatNames();
std::vector<std::string> GetWriteFormatNames();
/// Without the dot, each once.
std::vector<std::string> GetReadExtensions();
std::vector<std::string> GetWriteExtensions();

}  // namespace Tool
