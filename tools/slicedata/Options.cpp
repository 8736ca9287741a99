#include "Options.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

constexpr std::pair<char const*, ProgressMode> kProgressModes[] = {
    {"auto", ProgressMode::Auto}, {"lines", ProgressMode::Lines}, {"none", ProgressMode::None}};

constexpr std::pair<char const*, e2DSliceStackCachingType> kPagingTypes[] = {
    {"none", e2DSliceStackCachingType::NoTempFiles},
    {"multiple", e2DSliceStackCachingType::MultipleTempFiles},
    {"single", e2DSliceStackCachingType::SingleTempFile},
    {"zrange", e2DSliceStackCachingType::ZRange}};

template <class Words>
std::vector<std::string> GetNames(Words const& words) {
  std::vector<std::string> names;
  for (auto const& word : words) names.emplace_back(word.first);
  return names;
}

/// The value behind one of a few words.
template <class Words>
auto ParseWord(Words const& words, std::string const& text, std::string const& what, std::string const& advice) {
  auto const word =
      std::find_if(std::begin(words), std::end(words), [&](auto const& candidate) { return text == candidate.first; });
  if (word == std::end(words)) throw Trouble("", "'" + text + "' is no way to " + what, advice);
  return word->second;
}

}  // namespace

Command::Taker Into(std::string& target) {
  return [&target](std::string const& value) {
    if (value.empty()) throw Trouble("", "it is empty", "give a name");
    target = value;
  };
}

void TalkOptions::AddTo(Command& command) {
  command.BeginGroup("Options");
  command.AddOption(
      "--progress", "HOW",
      "on standard error: auto (a line that changes, if that is a terminal; the default), lines (ten lines, for "
      "logs) or none",
      [this](std::string const& value) {
        progress = ParseWord(kProgressModes, value, "show progress", "give auto, lines or none");
      });
  command.SetChoices(GetNames(kProgressModes));
  command.AddFlag("-q,--quiet", "say nothing but trouble", [this] { quiet = true; });
  command.AddFlag("-v,--verbose", "say what is done", [this] { verbose = true; });
}

void InputOptions::AddTo(Command& command, std::string const& value_name) {
  command.AddArgument(value_name, "the slice file to read", Into(path));
  AddReadingTo(command);
}

void InputOptions::AddFormatTo(Command& command) {
  command.BeginGroup("Input");
  command.AddOption("--from", "FORMAT",
                    "what the input is, if its name does not tell: " + Join(GetReadFormatNames(), ", ") +
                        "; a CLI file says itself whether it is ASCII or binary",
                    Into(from));
  command.SetChoices(GetReadFormatNames());
  command.AddFlag("--lenient",
                  "read a CLI file that holds another number of layers than its header tells, as one does that was cut "
                  "short",
                  [this] { strictness = SliceFormats::Strictness::Lenient; });
}

void InputOptions::AddReadingTo(Command& command) {
  AddFormatTo(command);
  command.AddOption("--paging", "HOW",
                    "work over a stack of all layers, as a host does, instead of one layer at a time: none keeps all "
                    "in memory, multiple "
                    "ten layers, single a hundred, zrange those up to 6 mm away; the rest is paged to scratch files",
                    [this](std::string const& value) {
                      paging = ParseWord(kPagingTypes, value, "page", "give none, multiple, single or zrange");
                    });
  command.SetChoices(GetNames(kPagingTypes));
  command.AddOption("--scratch-dir", "DIR", "where scratch files go; without it to $TMPDIR, or else to /var/tmp",
                    Into(scratch_dir));
}

void InputOptions::AddSelectionTo(Command& command) {
  command.AddOption(
      "--layers", "LIST",
      "only these layers, counted from 0, such as 0:99,last; a range holds both its ends, and 5: goes on to "
      "the last",
      [this](std::string const& value) { selection.AddLayers(value); }, Occurs::AnyNumber);
  command.AddOption(
      "--z", "LIST", "only the layers at these heights, such as 1:2.5; a single height is the layer nearest to it",
      [this](std::string const& value) { selection.AddHeights(value); }, Occurs::AnyNumber);
}

void InputOptions::AddLayerTo(Command& command) {
  takes_one_layer = true;
  auto const refuse_second = [this] {
    if (!selection.IsEverything()) throw Trouble("", "the layer is chosen already", "give --layer or --z, once");
  };
  command.AddOption("--layer", "N", "the layer to look at, counted from 0, or last",
                    [this, refuse_second](std::string const& value) {
                      refuse_second();
                      selection.AddLayers(value);
                    });
  command.AddOption("--z", "Z", "the same by height: the layer nearest to it",
                    [this, refuse_second](std::string const& value) {
                      refuse_second();
                      selection.AddHeights(value);
                    });
}

void OutputOptions::AddTo(Command& command) {
  _AddTo(command, "OUT", GetWriteFormatNames(),
         "; cli, also by the name .cli, keeps the form of a CLI input and is binary otherwise", Occurs::Once);
  command.AddFlag("--strict", "refuse to write a file that does not keep everything", [this] { strict = true; });
}

void OutputOptions::AddPictureTo(Command& command, Occurs occurs) {
  shows_only = true;
  _AddTo(command, "OUT.svg", {"svg"}, "", occurs);
  command.AddFlag("--start-points", "mark where each contour begins", [this] { marks.start_points = true; });
  command.AddFlag("--directions", "show by arrow heads which way contours and vectors run",
                  [this] { marks.directions = true; });
}

void OutputOptions::_AddTo(Command& command, std::string const& value_name, std::vector<std::string> const& formats,
                           std::string const& remark, Occurs occurs) {
  command.BeginGroup("Output");
  command.AddOption("-o,--output", value_name, "the file to write; it appears under its name only when it is whole",
                    Into(path), occurs);
  command.AddOption("--to", "FORMAT", "what to write, if the name does not tell: " + Join(formats, ", ") + remark,
                    Into(to));
  command.SetChoices(formats);
  command.AddFlag("--force", "replace a file that is there", [this] { force = true; });
}

}  // namespace Tool
