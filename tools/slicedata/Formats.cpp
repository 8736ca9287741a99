#include "Formats.h"

#include <SliceFormats/cli/CliSource.h>
#include <SliceFormats/cli/CliTarget.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>
#include <SliceFormats/stack_document/StackDocumentTarget.h>
#include <SliceFormats/svg/SvgTarget.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

using SliceFormats::CliForm;
using SliceFormats::FileTarget;
using SliceFormats::FormatReport;
using SliceFormats::Strictness;

std::unique_ptr<ISource2DSlices const> OpenCliSource(std::string const& path, FormatReport* report,
                                                     Strictness strictness) {
  return std::make_unique<SliceFormats::CliSource>(path, report, strictness);
}

/// A document that lacks anything is never read.
std::unique_ptr<ISource2DSlices const> OpenStackDocumentSource(std::string const& path, FormatReport* report,
                                                               Strictness) {
  return std::make_unique<SliceFormats::StackDocumentSource>(path, report);
}

template <CliForm form>
std::unique_ptr<FileTarget> OpenCliTarget(std::string const& path, Origin const&, PictureMarks const&,
                                          FormatReport* report) {
  return std::make_unique<SliceFormats::CliTarget>(path, form, report);
}

std::unique_ptr<FileTarget> OpenCliTargetLikeOrigin(std::string const& path, Origin const& origin, PictureMarks const&,
                                                    FormatReport* report) {
  auto const* const cli = dynamic_cast<SliceFormats::CliSource const*>(&origin.source);
  return std::make_unique<SliceFormats::CliTarget>(path, cli != nullptr ? cli->GetForm() : CliForm::Binary, report);
}

std::unique_ptr<FileTarget> OpenStackDocumentTarget(std::string const& path, Origin const&, PictureMarks const&,
                                                    FormatReport* report) {
  return std::make_unique<SliceFormats::StackDocumentTarget>(path, report);
}

std::unique_ptr<FileTarget> OpenSvgTarget(std::string const& path, Origin const& origin, PictureMarks const& marks,
                                          FormatReport* report) {
  SliceFormats::SvgOptions options;
  options.title = origin.title;
  options.first_layer = origin.first_layer;
  options.start_points = marks.start_points;
  options.directions = marks.directions;
  options.colour_by_area = marks.areas;
  return std::make_unique<SliceFormats::SvgTarget>(path, options, report);
}

constexpr Format kFormats[] = {
    {"cli", ".cli", OpenCliSource, OpenCliTargetLikeOrigin, false},
    {"cli-ascii", ".cli", nullptr, OpenCliTarget<CliForm::Ascii>, false},
    {"cli-binary", ".cli", nullptr, OpenCliTarget<CliForm::Binary>, false},
    {"slicestack", ".slicestack", OpenStackDocumentSource, OpenStackDocumentTarget, false},
    {"svg", ".svg", nullptr, OpenSvgTarget, true},
};

bool IsRead(Format const& format) {
  return format.open_source != nullptr;
}
bool IsWritten(Format const& format) {
  return format.open_target != nullptr;
}
bool IsPicture(Format const& format) {
  return format.is_picture;
}

std::vector<std::string> GetNames(bool (*is_suitable)(Format const&)) {
  std::vector<std::string> names;
  for (Format const& format : kFormats) {
    if (is_suitable(format)) names.emplace_back(format.name);
  }
  return names;
}

std::vector<std::string> GetExtensions(bool (*is_suitable)(Format const&)) {
  std::vector<std::string> extensions;
  for (Format const& format : kFormats) {
    std::string const extension = format.extension + 1;
    if (is_suitable(format) && std::find(extensions.begin(), extensions.end(), extension) == extensions.end()) {
      extensions.push_back(extension);
    }
  }
  return extensions;
}

Format const& FindFormat(std::string const& path, std::string const& name, bool (*is_suitable)(Format const&),
                         std::string const& option, std::string const& done) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  for (Format const& format : kFormats) {
    if (is_suitable(format) && (name.empty() ? extension == format.extension : name == format.name)) return format;
  }
  std::string const formats = Join(GetNames(is_suitable), ", ");
  if (!name.empty()) throw Trouble(option, "no format '" + name + "' can be " + done, "give one of " + formats);
  if (extension == ".slicedb") {
    throw Trouble(path, "it is a database of slices, not a slice file", "use 'slicedata db'");
  }
  throw Trouble(path, "its name does not tell a format that can be " + done,
                "name it so, or give " + option + ", for one of these: " + formats);
}

}  // namespace

Format const& FindReadFormat(std::string const& path, std::string const& name) {
  return FindFormat(path, name, IsRead, "--from", "read");
}

Format const& FindWriteFormat(std::string const& path, std::string const& name) {
  return FindFormat(path, name, IsWritten, "--to", "written");
}

Format const& FindPictureFormat(std::string const& path, std::string const& name) {
  return FindFormat(path, name, IsPicture, "--to", "drawn");
}

std::vector<std::string> GetReadFormatNames() {
  return GetNames(IsRead);
}
std::vector<std::string> GetWriteFormatNames() {
  return GetNames(IsWritten);
}
std::vector<std::string> GetReadExtensions() {
  return GetExtensions(IsRead);
}
std::vector<std::string> GetWriteExtensions() {
  return GetExtensions(IsWritten);
}

}  // namespace Tool
