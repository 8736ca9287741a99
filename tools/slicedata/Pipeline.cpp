#include "Pipeline.h"

#include <SliceData/disk_cache/DiskCacheLocation.h>
#include <SliceData/slice_model/HeightArithmetic.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_stack/M2DSliceStackUtilities.h>

#include <filesystem>
#include <new>
#include <stdexcept>
#include <utility>

#include "Console.h"
#include "Progress.h"
#include "SelectedSource.h"
#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

/// A source between its start and its stop.
class Run {
 public:
  explicit Run(ISource2DSlices const& source) : m_source(source), m_num_slices(source.StartGettingSlices()) {}
  ~Run() { m_source.StopGettingSlices(); }
  Run(Run const&) = delete;
  Run& operator=(Run const&) = delete;

  unsigned long GetNumSlices() const { return m_num_slices; }

 private:
  ISource2DSlices const& m_source;
  unsigned long m_num_slices;
};

/// Runs what reads a file. What it holds may be more than there is memory for: the trouble names the file.
template <class Function>
auto NamingFile(std::string const& path, Function&& read) {
  auto const refuse = [&]() -> Trouble {
    return {path, "not enough memory for what it holds",
            "take fewer layers by --layers, page them out by --paging multiple, or close other programs"};
  };
  try {
    return read();
  } catch (std::bad_alloc const&) {
    throw refuse();
  } catch (std::length_error const&) {
    throw refuse();
  }
}

/// The format of a file that can be opened.
Format const& FindFormat(InputOptions const& options) {
  // What cannot be looked at is left to the format, which says why.
  std::error_code ignored;
  auto const type = std::filesystem::status(options.path, ignored).type();
  if (type == std::filesystem::file_type::not_found) {
    throw Trouble(options.path, "there is no such file", "check the name");
  }
  if (type == std::filesystem::file_type::directory) {
    throw Trouble(options.path, "it is a directory", "name a slice file");
  }
  return FindReadFormat(options.path, options.from);
}

void RefuseLosses(std::string const& name, SliceFormats::FormatReport const& losses) {
  if (!losses.IsEmpty()) throw Trouble(name, Join(losses.GetNotes(), ", "), "leave out --strict to write the rest");
}

void RefuseLosses(Input const& input) {
  for (auto const& part : input.GetParts()) RefuseLosses(*part);
  RefuseLosses(input.GetName(), input.GetReport());
}

/// A stack of all slices of a source.
std::unique_ptr<M2DSliceStack> FillStack(ISource2DSlices const& source, std::string const& name,
                                         InputOptions const& options) {
  if (!options.scratch_dir.empty()) {
    if (!std::filesystem::is_directory(options.scratch_dir)) {
      throw Trouble(options.scratch_dir, "it is no directory", "name one for --scratch-dir that is there");
    }
    M2DSliceUtilities::SetDiskCacheLocation(options.scratch_dir);
  }
  auto stack = std::make_unique<M2DSliceStack>(*options.paging);
  Run const run(source);
  NamingFile(name, [&] { return M2DSliceStackUtilities::ConvertSourceToSliceStack(source, *stack); });
  TakeProperties(source, stack->GetProperties());
  return stack;
}

}  // namespace

Input::Input(InputOptions const& options)
    : m_name(options.path),
      m_title(std::filesystem::path(options.path).filename().string()),
      m_format(&FindFormat(options)),
      m_file(NamingFile(m_name, [&] { return m_format->open_source(m_name, &m_report, options.strictness); })) {
  _Select(options);
}

Input::Input(InputOptions const& options, std::string name, std::unique_ptr<ISource2DSlices const> source,
             std::vector<std::unique_ptr<Input>> parts)
    : m_name(std::move(name)), m_title(m_name), m_parts(std::move(parts)), m_file(std::move(source)) {
  _Select(options);
}

void Input::_Select(InputOptions const& options) {
  if (options.takes_one_layer && options.selection.IsEverything()) {
    throw Trouble(m_name, "no layer is chosen", "give --layer with its number or --z with its height");
  }
  if (!options.selection.IsEverything()) {
    m_layers = options.selection.Select(*m_file, m_name);
    if (options.takes_one_layer && m_layers.size() != 1) {
      throw Trouble(m_name, Count(m_layers.size(), "layer") + " are chosen, and this command looks at one",
                    "choose one; 'slicedata convert' to .svg draws several");
    }
    m_selected = std::make_unique<SelectedSource>(*m_file, m_layers);
  }
  if (options.paging) {
    m_stack = FillStack(GetSource(), m_name, options);
  } else if (!options.scratch_dir.empty()) {
    throw Trouble("--scratch-dir", "nothing is paged", "give --paging as well, or leave it out");
  }
}

ISource2DSlices const& Input::GetSource() const {
  if (m_stack != nullptr) return *m_stack;
  return m_selected != nullptr ? *m_selected : *m_file;
}

Origin Input::GetOrigin() const {
  // Layers with gaps between them are numbered anew.
  bool const has_gaps = !m_layers.empty() && m_layers.back() - m_layers.front() + 1 != m_layers.size();
  return {*m_file, m_title, has_gaps ? 0 : GetLayer(0)};
}

unsigned long Input::GetLayer(unsigned long index) const {
  return m_layers.empty() ? index : m_layers[index];
}

long FindLayerStep(ISource2DSlices const& source) {
  unsigned long const num_slices = source.GetNumSlices();
  long common = 0;
  for (unsigned long i = 1; i < num_slices; ++i) {
    long const step = HeightArithmetic::Difference(source.GetSliceZPosition(i), source.GetSliceZPosition(i - 1));
    if (step <= 0 || (i > 1 && step != common)) return 0;
    common = step;
  }
  return common;
}

void TakeProperties(ISource2DSlices const& source, PersistentProperties& properties) {
  properties = source.GetProperties();
  if (long const thickness = source.GetSliceThickness(); thickness > 0) {
    properties.SetProperty<long>("SliceThickness", thickness);
  }
}

void ForEachSlice(Input const& input, TalkOptions const& talk, SliceVisitor const& visit) {
  ISource2DSlices const& source = input.GetSource();
  Run const run(source);
  if (talk.verbose && !talk.quiet)
    TellNote(input.GetName() + ": " + Count(run.GetNumSlices(), "layer") + " to go through");
  Progress progress(talk.quiet ? ProgressMode::None : talk.progress, input.GetName(), run.GetNumSlices());
  for (unsigned long i = 0; i < run.GetNumSlices(); ++i) {
    if (M2DSliceStack* const stack = input.GetStack()) {
      visit(*stack->GetSlice(i), input.GetLayer(i));
    } else {
      M2DSlice slice;
      NamingFile(input.GetName(), [&] { source.GetSlice(slice, i); });
      visit(slice, input.GetLayer(i));
    }
    progress.SetDone(i + 1);
  }
}

void TellSkipped(Input const& input, TalkOptions const& talk) {
  if (talk.quiet) return;
  for (auto const& part : input.GetParts()) TellSkipped(*part, talk);
  for (std::string const& note : input.GetReport().GetNotes()) TellNote(input.GetName() + ": " + note);
}

Output::Output(Input const& input, Format const& format, std::string path, OutputOptions const& options)
    : m_input(input),
      m_format(format),
      m_path(std::move(path)),
      m_options(options),
      m_target(format.open_target(m_path, input.GetOrigin(), options.marks, &m_report)) {
  m_target->SetExisting(GetExisting(options));
  ISource2DSlices const& source = input.GetSource();
  // A picture of a layer shows none, and they may lie far from it in the file.
  if (!options.shows_only) TakeProperties(source, m_target->GetProperties());
  if (!options.keeps_thickness) m_target->GetProperties().RemoveProperties("SliceThickness");
  m_target->GetSliceParameters() = source.GetSliceParameters();
  m_target->GetSliceIOParameters() = source.GetSliceIOParameters();
  _RefuseIfFalse(m_target->StartAddingSlices());
}

void Output::Add(M2DSlice& slice) {
  m_target->AddSlice(slice, true);
  ++m_num_slices;
  _RefuseLosses();
}

void Output::Seal() {
  _RefuseLosses();
  m_target->Seal();
}

void Output::Finish() {
  _RefuseLosses();
  _RefuseIfFalse(m_target->StopAddingSlices());
}

void Output::Tell(TalkOptions const& talk) const {
  if (talk.quiet) return;
  if (!m_options.shows_only) {
    for (std::string const& note : m_report.GetNotes()) TellNote(m_path + ": " + note);
  }
  if (talk.verbose) TellNote(m_path + ": " + Count(m_num_slices, "layer") + " written as " + m_format.name);
}

void Output::_RefuseIfFalse(bool accepted) const {
  if (!accepted) throw Trouble(m_path, "the format does not take these slices", "choose another one by --to");
}

/// Under `--strict`, what is lost is the end.
void Output::_RefuseLosses() const {
  if (!m_options.strict) return;
  RefuseLosses(m_input);
  RefuseLosses(m_path, m_report);
}

MPendingFile::Existing GetExisting(OutputOptions const& options) {
  return options.force ? MPendingFile::Existing::Replace : MPendingFile::Existing::Keep;
}

void CheckOutputPath(std::string const& path, std::vector<std::string> const& inputs, OutputOptions const& options) {
  std::error_code ignored;
  auto const status = std::filesystem::status(path, ignored);
  if (!std::filesystem::exists(status)) return;
  if (!std::filesystem::is_regular_file(status)) {
    throw Trouble(path, "it is no regular file", "name a file to be written");
  }
  for (std::string const& input : inputs) {
    if (std::filesystem::equivalent(path, input, ignored)) {
      throw Trouble(path, "the command reads this file" + (input == path ? "" : ", as " + input),
                    "name another file to be written");
    }
  }
  if (!options.force) throw Trouble(path, "it is there already", "name another file, or give --force to replace it");
}

Format const& CheckOutput(OutputOptions const& options, std::vector<std::string> const& inputs) {
  Format const& format =
      options.shows_only ? FindPictureFormat(options.path, options.to) : FindWriteFormat(options.path, options.to);
  CheckOutputPath(options.path, inputs, options);
  return format;
}

void WriteSlices(Input const& input, Format const& format, OutputOptions const& options, TalkOptions const& talk,
                 SliceVisitor const& change) {
  Output output(input, format, options.path, options);
  ForEachSlice(input, talk, [&](M2DSlice& slice, unsigned long layer) {
    if (change) change(slice, layer);
    output.Add(slice);
  });
  output.Finish();
  TellSkipped(input, talk);
  output.Tell(talk);
}

}  // namespace Tool
