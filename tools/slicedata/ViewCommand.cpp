#include <SliceData/platform/file_io/MInputFile.h>
#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/properties/FileContent.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceFormats/svg/TypeColours.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "Pipeline.h"
#include "Text.h"
#include "Trouble.h"
#include "view/Page.h"

namespace Tool {

namespace {

/// What a browser takes in a page within some seconds, and twice as much memory meanwhile.
constexpr long long kMaxDocumentSize = 256ll << 20;
/// A piece of the document: a multiple of three, so that only the last one is padded. Browsers limit the length of a
/// text.
constexpr long long kPieceSize = 3ll << 20;

struct ViewOptions {
  InputOptions input;
  OutputOptions output;
  TalkOptions talk;
};

/// Where the page without a document lies, as it was installed with the program; empty if it was not.
std::string FindInstalledPage() {
  std::error_code error;
  auto const program = std::filesystem::read_symlink("/proc/self/exe", error);
  auto const page = (program.parent_path() / SLICEDATA_PAGE_FROM_PROGRAM).lexically_normal();
  return !error && std::filesystem::exists(page, error) ? page.string() : std::string();
}

[[noreturn]] void RefuseSize(Input const& input) {
  std::string const page = FindInstalledPage();
  throw Trouble(input.GetName(), "it takes more than 256 MiB in a page",
                "choose fewer layers by --layers, or open it as a .slicestack in " +
                    (page.empty() ? "the page that 'slicedata view -o page.html' writes" : page));
}

/// How many bytes of a document the coordinates of a slice are.
long long CountBytes(M2DSlice const& slice) {
  M2DSliceBaseInfo info;
  slice.GetBaseInfo(info);
  unsigned long num_pairs = 0;
  for (auto const& contour : info.border.contours) num_pairs += contour.numPoints;
  for (auto const& block : info.vectors.vectorBlocks) num_pairs += 2 * block.numVectors;
  for (auto const& block : info.points.pointBlocks) num_pairs += block.numPoints;
  for (auto const& contour : info.areas.contours) num_pairs += contour.numPoints;
  return static_cast<long long>(num_pairs * 2 * sizeof(std::int32_t));
}

/// Writes the slices as the document that the page holds: the same bytes as those of `convert`. Gives the box around
/// them.
M2DSliceXYArea WriteDocument(Input const& input, std::string const& path, TalkOptions const& talk) {
  OutputOptions options;
  options.force = true;  // the scratch file is there
  Output output(input, FindWriteFormat(path, "slicestack"), path, options);
  long long size = 0;
  M2DSliceXYArea area;
  ForEachSlice(input, talk, [&](M2DSlice& slice, unsigned long) {
    size += CountBytes(slice);
    if (size > kMaxDocumentSize) RefuseSize(input);  // rather than when the disk is full
    area.Extend(slice.GetXYArea());
    output.Add(slice);
  });
  output.Finish();
  return area;
}

/// A JSON object of a box, empty for an empty one.
std::string MakeExtent(M2DSliceXYArea const& area) {
  if (area.IsEmpty()) return "{}";
  return "{\"minX\": " + std::to_string(area.minX) + ", \"minY\": " + std::to_string(area.minY) +
         ", \"maxX\": " + std::to_string(area.maxX) + ", \"maxY\": " + std::to_string(area.maxY) + "}";
}

/// A JSON object of the colours by which types are told apart.
std::string MakeTypeColours() {
  using SliceFormats::TypeColours;
  std::vector<std::string> built_in;
  std::vector<std::string> further;
  auto const& names = M2DSliceVectorTypeInfo::GetRegistry().GetTypeNames();
  for (std::size_t i = 0; i < names.size(); ++i) {
    built_in.push_back(JsonString(names[i]) + ": " + JsonString(TypeColours::kBuiltIn[i]));
  }
  for (char const* const colour : TypeColours::kFurther) further.push_back(JsonString(colour));
  return "{\"builtIn\": {" + Join(built_in, ", ") + "}, \"further\": [" + Join(further, ", ") + "]}";
}

/// Appends bytes as base64.
void WriteBase64(MPendingFile& file, std::string_view bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  while (!bytes.empty()) {
    std::size_t const size = std::min<std::size_t>(bytes.size(), 3);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      group = group << 8 | (i < size ? static_cast<unsigned char>(bytes[i]) : 0u);
    }
    char* const room = file.Room(4);
    for (std::size_t i = 0; i < 4; ++i) room[i] = i <= size ? kDigits[group >> (18 - 6 * i) & 63] : '=';
    file.Use(room + 4);
    bytes.remove_prefix(size);
  }
}

void WriteDocumentPieces(MPendingFile& file, MInputFile const& document) {
  std::string piece;
  for (long long at = 0; at < document.GetSize(); at += kPieceSize) {
    piece.resize(static_cast<std::size_t>(std::min(kPieceSize, document.GetSize() - at)));
    document.Read(at, piece.data(), piece.size());
    file.Write("<script type=\"application/octet-stream\">");
    WriteBase64(file, piece);
    file.Write("</script>\n");
  }
}

/// The JSON of what the page has to know, as an element of it.
///
/// \param members  beside the colours, each after a comma
std::string MakeSettings(std::string const& members = "") {
  std::string json = "{\"typeColours\": " + MakeTypeColours() + members + "}";
  // A name must not end the element that it stands in.
  for (auto at = json.find('<'); at != std::string::npos; at = json.find('<', at)) json.replace(at, 1, "\\u003c");
  return "<script type=\"application/json\" id=\"settings\">\n" + json + "\n</script>\n";
}

/// Writes the page.
///
/// \param document  of the page; null for none
void WritePage(OutputOptions const& options, std::string const& settings, MInputFile const* document) {
  std::string_view const page = View::kPage;
  auto const place_of_settings = page.find(View::kSettingsMark);
  auto const behind_settings = place_of_settings + View::kSettingsMark.size();
  auto const place_of_document = page.find(View::kDocumentMark, behind_settings);
  MPendingFile file(options.path, GetExisting(options));
  file.Write(page.substr(0, place_of_settings));
  file.Write(settings);
  file.Write(page.substr(behind_settings, place_of_document - behind_settings));
  if (document != nullptr) WriteDocumentPieces(file, *document);
  file.Write(page.substr(place_of_document + View::kDocumentMark.size()));
  file.Commit();
}

void WriteEmptyPage(ViewOptions const& options) {
  if (!options.input.selection.IsEverything() || !options.input.from.empty() || options.input.paging) {
    throw Trouble("view", "FILE is missing", "name it, or leave out the options of the input");
  }
  WritePage(options.output, MakeSettings(), nullptr);
}

void WriteFilledPage(ViewOptions const& options) {
  Input const input(options.input);
  VelAM::FileContent scratch;
  scratch.CreateTempFile(true);
  M2DSliceXYArea const extent = WriteDocument(input, scratch.GetPath(), options.talk);

  MInputFile const document(scratch.GetPath(), MInputFile::Order::Sequential);
  if (document.GetSize() > kMaxDocumentSize) RefuseSize(input);
  Origin const origin = input.GetOrigin();
  WritePage(options.output,
            MakeSettings(", \"name\": " + JsonString(origin.title) + ", \"firstLayer\": " +
                         std::to_string(origin.first_layer) + ", \"extent\": " + MakeExtent(extent)),
            &document);
  TellSkipped(input, options.talk);
}

int RunView(ViewOptions const& options) {
  std::string const& path = options.output.path;
  if (std::filesystem::path(path).extension() != ".html") {
    throw Trouble(path, "its name is not that of a page", "name it .html");
  }
  CheckOutputPath(path, {options.input.path}, options.output);
  if (options.input.path.empty()) {
    WriteEmptyPage(options);
  } else {
    WriteFilledPage(options);
  }
  if (options.talk.verbose && !options.talk.quiet) TellNote(path + ": open it in a browser");
  return 0;
}

}  // namespace

void AddViewCommand(Command& program) {
  Command& command = program.AddCommand("view", "makes a page to look at a whole part in a browser");
  auto const options = std::make_shared<ViewOptions>();
  command.AddArgument("FILE", "the slice file to show; without it, the page opens files itself",
                      Into(options->input.path), Occurs::AtMostOnce);
  options->input.AddReadingTo(command);
  options->input.AddSelectionTo(command);
  command.BeginGroup("Output");
  command.AddOption("-o,--output", "OUT.html", "the page to write; it appears under its name only when it is whole",
                    Into(options->output.path), Occurs::Once);
  command.AddFlag("--force", "replace a file that is there", [options] { options->output.force = true; });
  options->talk.AddTo(command);
  command.AddHelp(
      "The page holds the layers itself, up to 256 MiB of them, and loads nothing from anywhere: send it to whom you "
      "like. A slider goes through the layers; keys and mouse move, zoom and switch types on and off. Heights of --z "
      "are in mm; 30um and 0.03mm are understood, too.");
  command.AddHelp(
      "For more, there is the page without FILE, which is also installed with the program as "
      "share/slicedata/view.html: "
      "drop any .slicestack on it, however large. It reads the layer that it shows and no more.");
  command.AddExample("slicedata view part.cli -o part.html", "a page with all layers");
  command.AddExample("slicedata view part.cli -o middle.html --z 1:2.5", "only the layers from z 1 to 2.5 mm");
  command.AddExample("slicedata view -o layers.html", "a page that opens stack documents of any size");
  command.SetAction([options] { return RunView(*options); });
}

}  // namespace Tool
