#include <SliceData/platform/math/MMTransformMatrix.h>
#include <SliceData/slice_data_cache/CachedSliceStackSelectorDefault.h>
#include <SliceData/slice_data_cache/ICachedSliceStackSelector.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_model/M2DSliceBaseInfo.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "Database.h"
#include "Length.h"
#include "MergedSource.h"
#include "Pipeline.h"
#include "PlacedSource.h"
#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

using SliceDataCaching::CachedSliceStack;
using SliceDataCaching::CachedSliceStackKeyInfo;
using SliceDataCaching::CachedSliceStackSelectorDefault;

/// What 'put' and 'get' say of an entry.
struct KeyOptions {
  std::string id;
  std::string revision;
  std::optional<long> thickness;
  std::optional<MMTransformMatrix> position;
  std::string type;  ///< empty: not told

  void AddTo(Command& command, std::string const& without_thickness, std::string const& without_type,
             std::string const& position_help);
  CachedSliceStackKeyInfo MakeKey() const;
};

/// The entries that a request means: what it does not tell may be any.
class RequestSelector final : public SliceDataCaching::ICachedSliceStackSelector {
 public:
  /// \param options  outlives this
  explicit RequestSelector(KeyOptions const& options)
      : m_options(options), m_key(options.MakeKey()), m_default(&m_key) {}

  bool _OnIsSuitedCachedStack(CachedSliceStack* stack) const override {
    return m_default.HasSuitedType(stack) && m_default.HasSuitedID(stack) &&
           (!m_options.thickness || m_default.HasSuitedZInfo(stack)) &&
           (!m_options.position || m_default.HasSuitedTransformation(stack));
  }

 private:
  KeyOptions const& m_options;
  CachedSliceStackKeyInfo m_key;
  CachedSliceStackSelectorDefault m_default;
};

std::string const* FindType(CachedSliceStackKeyInfo const& key) {
  return key.m_properties.GetValue<std::string>(SliceDataCaching::PropertyNameCacheType);
}

/// The entries of an equal key. Where the slices lie is no matter: whoever looks for them finds them anywhere.
class SameKeySelector final : public SliceDataCaching::ICachedSliceStackSelector {
 public:
  /// \param key  outlives this
  explicit SameKeySelector(CachedSliceStackKeyInfo const& key) : m_key(key), m_default(&key) {}

  bool _OnIsSuitedCachedStack(CachedSliceStack* stack) const override {
    return (FindType(m_key) == nullptr) == (FindType(*stack) == nullptr) && m_default._OnIsSuitedCachedStack(stack);
  }

 private:
  CachedSliceStackKeyInfo const& m_key;
  CachedSliceStackSelectorDefault m_default;
};

/// The entries of a part in a revision, or in any.
class PartSelector final : public SliceDataCaching::ICachedSliceStackSelector {
 public:
  /// \param revision  empty: any
  PartSelector(std::string id, std::string revision) : m_id(std::move(id)), m_revision(std::move(revision)) {}

  bool _OnIsSuitedCachedStack(CachedSliceStack* stack) const override {
    return stack->m_id == CachedSliceStackKeyInfo::ID{m_id, m_revision.empty() ? stack->m_id.m_revision : m_revision};
  }

 private:
  std::string m_id;
  std::string m_revision;
};

MMTransformMatrix ParsePosition(std::string const& text) {
  auto const lengths = Split(text, ',');
  if (lengths.size() != 3) throw Trouble("", "'" + text + "' is no position", "give X,Y,Z in mm, such as 10,0,0.5");
  MMTransformMatrix position;
  for (int i = 0; i < 3; ++i) position.SetElement(i, 3, static_cast<double>(ParseLength(TrimBlanks(lengths[i]))));
  return position;
}

void KeyOptions::AddTo(Command& command, std::string const& without_thickness, std::string const& without_type,
                       std::string const& position_help) {
  command.BeginGroup("Key");
  command.AddOption("--id", "ID", "which part; the case of the letters A to Z does not count", Into(id), Occurs::Once);
  command.AddOption("--revision", "REV", "which revision of it; letter case as above", Into(revision), Occurs::Once);
  command.AddOption("--thickness", "LEN", "of a layer; without it " + without_thickness,
                    [this](std::string const& value) { thickness = ParsePositiveLength(value); });
  command.AddOption("--at", "X,Y,Z", position_help,
                    [this](std::string const& value) { position = ParsePosition(value); });
  command.AddOption("--type", "NAME", "what kind of slices, letter by letter; without it " + without_type, Into(type));
}

CachedSliceStackKeyInfo KeyOptions::MakeKey() const {
  CachedSliceStackKeyInfo key;
  key.m_id = {id, revision};
  key.m_z_info.thickness = thickness.value_or(0);
  if (position) key.m_transform = *position;
  if (!type.empty()) key.m_properties.SetProperty<std::string>(SliceDataCaching::PropertyNameCacheType, type);
  return key;
}

// Putting

struct PutOptions {
  std::string database;
  InputOptions input;
  KeyOptions key;
  WaitOptions wait;
  TalkOptions talk;
};

/// What the source tells, or else the step between its layers.
long FindThickness(Input const& input) {
  if (long const thickness = input.GetSource().GetSliceThickness(); thickness > 0) return thickness;
  if (long const step = FindLayerStep(input.GetSource()); step > 0) return step;
  throw Trouble(input.GetName(), "it does not tell how thick a layer is, nor do its heights",
                "give --thickness, such as --thickness 30um");
}

boost::shared_ptr<M2DSliceStack> ReadStack(Input const& input, TalkOptions const& talk) {
  auto stack = boost::make_shared<M2DSliceStack>();
  ForEachSlice(input, talk, [&](M2DSlice& slice, unsigned long) {
    stack->AddSlicePosition(slice.GetZArea())->CopyFrom(slice, true);  // with its whole Z area
  });
  TakeProperties(input.GetSource(), stack->GetProperties());
  return stack;
}

int RunPut(PutOptions const& options) {
  if (std::filesystem::path(options.database).extension() != ".slicedb") {
    throw Trouble(options.database, "its name does not tell a database", "name it .slicedb");
  }
  Database::Check(options.database);
  Input const input(options.input);
  CachedSliceStackKeyInfo key = options.key.MakeKey();
  if (!options.key.thickness) key.m_z_info.thickness = FindThickness(input);
  auto const stack = ReadStack(input, options.talk);

  Database database(options.database, Database::Use::ChangeOrMake, options.wait);
  database.GetStacks().RemoveCachedSliceStacks(SameKeySelector(key));
  database.GetStacks().AddCachedSliceStack(key)->SetSliceStack({stack}, key.m_z_info, nullptr);
  database.Save();

  TellSkipped(input, options.talk);
  if (options.talk.verbose && !options.talk.quiet) {
    TellNote(options.database + ": " + Count(stack->GetNumSlices(), "layer") + " put as " +
             Database::Describe(key.m_id));
  }
  return 0;
}

void AddPutCommand(Command& db) {
  Command& command = db.AddCommand("put", "keeps the slices of a file in a database");
  auto const options = std::make_shared<PutOptions>();
  command.AddArgument("DB", "the database, a .slicedb file; it is made if it is not there", Into(options->database));
  command.AddArgument("FILE", "the slice file to keep", Into(options->input.path));
  options->input.AddFormatTo(command);
  options->input.AddSelectionTo(command);
  options->key.AddTo(command, "the step between the layers of the file", "none is kept",
                     "where the part stands in the file; without it at 0,0,0");
  options->talk.AddTo(command);
  options->wait.AddTo(command);
  command.AddHelp(
      "An entry with an equal key is replaced: part, revision, thickness and type, wherever it stands. Lengths are in "
      "mm; 30um and 0.03mm are understood, too. The slices go through scratch files ($TMPDIR, or else /var/tmp). The "
      "database is written anew and takes its name when it is whole, so its disk has to hold both for a while.");
  command.AddExample("slicedata db put cache.slicedb gear.cli --id gear --revision 2",
                     "keeps what the slicer has made of a part");
  command.SetAction([options] { return RunPut(*options); });
}

// Getting

struct GetOptions {
  std::string database;
  KeyOptions key;
  InputOptions input;
  OutputOptions output;
  TalkOptions talk;
};

PlacedSource::Offset FindOffset(CachedSliceStack& entry, MMTransformMatrix const* position) {
  MMTransformMatrix translation;
  entry.GetAdditionalTransformation(position, translation);
  double x = 0, y = 0, z = 0;
  translation.GetTranslation(x, y, z);
  return {static_cast<long>(x), static_cast<long>(y), static_cast<long>(z)};
}

/// What cannot be moved.
void RefusePointsAndAreas(std::string const& database, CachedSliceStack const& entry, M2DSliceStack const& stack) {
  for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) {
    M2DSlice const& slice = *stack.GetSlice(i);
    if (slice.GetPointsComponent().GetNumElements() == 0 && slice.GetAreasComponent().GetNumElements() == 0) continue;
    throw Trouble(database,
                  "the slices of " + Database::Describe(entry.m_id) +
                      " hold points or area contours, which are not carried to another position",
                  "leave out --at, and move them by 'slicedata transform'");
  }
}

int RunGet(GetOptions const& options) {
  Format const& format = CheckOutput(options.output, {options.database});
  Database database(options.database, Database::Use::Read);
  CachedSliceStack* const entry = database.GetStacks().GetSuitedCachedStack(RequestSelector(options.key));
  if (entry == nullptr || entry->m_data.empty()) {
    if (!options.talk.quiet) {
      TellNote(options.database + ": no slices of " + Database::Describe({options.key.id, options.key.revision}) +
               " that fit; 'slicedata db list' tells what is there");
    }
    return 1;
  }

  database.Load(*entry, options.talk);
  MMTransformMatrix const* const position = options.key.position ? &*options.key.position : nullptr;
  PlacedSource::Offset const offset = FindOffset(*entry, position);
  std::vector<std::unique_ptr<ISource2DSlices const>> sources;
  for (auto const& stack : entry->GetStacks()) {
    if (position != nullptr) RefusePointsAndAreas(options.database, *entry, *stack);
    sources.push_back(std::make_unique<PlacedSource>(*stack, offset));
  }
  auto source =
      sources.size() == 1 ? std::move(sources.front()) : std::make_unique<MergedSource>(std::move(sources), false);
  Input const input(options.input, options.database, std::move(source));
  WriteSlices(input, format, options.output, options.talk);
  return 0;
}

void AddGetCommand(Command& db) {
  Command& command = db.AddCommand("get", "writes slices that a database keeps to a file");
  auto const options = std::make_shared<GetOptions>();
  command.AddArgument("DB", "the database, a .slicedb file", Into(options->database));
  options->key.AddTo(command, "any", "any", "where the part is to stand; without it where it stood");
  command.BeginGroup("Layers");
  options->input.AddSelectionTo(command);
  options->output.AddTo(command);
  options->talk.AddTo(command);
  command.AddHelp(
      "The oldest entry that fits is taken; if none does, one line says so and the exit code is 1. The database stays "
      "as it is. Lengths are in mm; 30um and 0.03mm are understood, too. Points and area contours cannot be moved: "
      "with --at, slices that hold them are refused.");
  command.AddExample("slicedata db get cache.slicedb --id gear --revision 2 -o gear.cli",
                     "the slices as they were put");
  command.AddExample("slicedata db get cache.slicedb --id gear --revision 2 --at 40,25,0 -o placed.cli",
                     "the same, with the part's origin at x 40 and y 25 mm");
  command.SetAction([options] { return RunGet(*options); });
}

// Listing

struct ListOptions {
  std::string database;
  bool json = false;
};

/// A line of the list.
struct ListedEntry {
  CachedSliceStack const& entry;
  std::string const* type;                  ///< null without one
  std::optional<unsigned long> num_slices;  ///< none: not readable
  char const* num_slices_text;              ///< in place of the number where there is none
  std::size_t num_used_positions;
};

/// \param trouble  becomes what is wrong with the first entry that cannot be read
std::vector<ListedEntry> ListEntries(Database& database, std::string& trouble) {
  std::vector<ListedEntry> entries;
  for (CachedSliceStack const* const entry : database.GetStacks().GetAllCachedStacks()) {
    std::vector<MMTransformMatrix const*> positions;
    entry->GetUsedPositions(positions);
    std::optional<unsigned long> num_slices;
    char const* text = "";
    try {
      num_slices = database.CountSlices(*entry);
    } catch (Trouble const& caught) {
      text = dynamic_cast<Database::Damage const*>(&caught) != nullptr ? "damaged" : "unknown";
      if (trouble.empty()) trouble = caught.what();
    }
    entries.push_back({*entry, FindType(*entry), num_slices, text, positions.size()});
  }
  return entries;
}

std::string MakeJson(std::vector<ListedEntry> const& entries) {
  std::vector<std::string> objects;
  for (ListedEntry const& listed : entries) {
    objects.push_back("{\"id\": " + JsonString(listed.entry.m_id.m_global) +
                      ", \"revision\": " + JsonString(listed.entry.m_id.m_revision) +
                      ", \"thickness\": " + std::to_string(listed.entry.m_z_info.thickness) +
                      ", \"type\": " + (listed.type != nullptr ? JsonString(*listed.type) : "null") +
                      ", \"slices\": " + (listed.num_slices ? std::to_string(*listed.num_slices) : "null") +
                      ", \"usedPositions\": " + std::to_string(listed.num_used_positions) + "}");
  }
  return MakeJsonList("entries", objects);
}

std::string MakeText(std::vector<ListedEntry> const& entries) {
  std::vector<std::vector<std::string>> rows = {{"id", "revision", "thickness", "type", "slices", "used positions"}};
  for (ListedEntry const& listed : entries) {
    rows.push_back({listed.entry.m_id.m_global, listed.entry.m_id.m_revision,
                    FormatLength(listed.entry.m_z_info.thickness) + " mm", listed.type != nullptr ? *listed.type : "-",
                    listed.num_slices ? std::to_string(*listed.num_slices) : listed.num_slices_text,
                    std::to_string(listed.num_used_positions)});
  }
  return MakeTable(rows, rows.front().size());
}

int RunList(ListOptions const& options) {
  Database database(options.database, Database::Use::Read);
  std::string trouble;
  auto const entries = ListEntries(database, trouble);
  WriteOutput(options.json ? MakeJson(entries) : MakeText(entries));
  if (!trouble.empty()) throw std::runtime_error(trouble);
  return 0;
}

void AddListCommand(Command& db) {
  Command& command = db.AddCommand("list", "tells what a database keeps");
  auto const options = std::make_shared<ListOptions>();
  command.AddArgument("DB", "the database, a .slicedb file", Into(options->database));
  command.BeginGroup("Output");
  command.AddFlag("--json",
                  "for programs; lengths are in internal units (10000 units are 1 mm), the type is null where none is "
                  "kept, the number of slices where they cannot be read",
                  [options] { options->json = true; });
  command.AddHelp(
      "One line for each entry, the oldest first: key, number of slices, number of positions at which it was used. If "
      "slices are damaged or need a newer version, their line says so, and the exit code is 2.");
  command.AddExample("slicedata db list cache.slicedb", "a table for people");
  command.SetAction([options] { return RunList(*options); });
}

// Dropping

struct DropOptions {
  std::string database;
  std::string id;
  std::string revision;  ///< empty: any
  WaitOptions wait;
  TalkOptions talk;
};

int RunDrop(DropOptions const& options) {
  Database database(options.database, Database::Use::Change, options.wait);
  unsigned long const num_dropped =
      database.GetStacks().RemoveCachedSliceStacks(PartSelector(options.id, options.revision));
  bool const talks = !options.talk.quiet;
  if (num_dropped == 0) {
    if (talks) {
      TellNote(options.database + ": nothing of part '" + options.id + "'" +
               (options.revision.empty() ? "" : ", revision '" + options.revision + "'") +
               " is there; 'slicedata db list' tells what is");
    }
    return 1;
  }
  database.Save();
  if (talks && options.talk.verbose) TellNote(options.database + ": " + std::to_string(num_dropped) + " dropped");
  return 0;
}

void AddDropCommand(Command& db) {
  Command& command = db.AddCommand("drop", "takes a part out of a database");
  auto const options = std::make_shared<DropOptions>();
  command.AddArgument("DB", "the database, a .slicedb file", Into(options->database));
  command.BeginGroup("Key");
  command.AddOption("--id", "ID", "which part; the case of the letters A to Z does not count", Into(options->id),
                    Occurs::Once);
  command.AddOption("--revision", "REV", "only this revision of it", Into(options->revision));
  options->talk.AddTo(command);
  options->wait.AddTo(command);
  command.AddHelp("If there is nothing to drop, one line says so and the exit code is 1.");
  command.AddExample("slicedata db drop cache.slicedb --id gear --revision 1", "an old revision");
  command.SetAction([options] { return RunDrop(*options); });
}

}  // namespace

void AddDatabaseCommand(Command& program) {
  Command& db = program.AddCommand("db", "keeps slices in a database, to find them again");
  db.AddHelp(
      "A database holds the slices of many parts, each under a key: the part, its revision, the thickness of a layer, "
      "and if wanted a type. Slices are not read when a database is opened, only those that are asked for.");
  db.AddExample("slicedata db put cache.slicedb gear.cli --id gear --revision 2", "keeps a part");
  db.AddExample("slicedata db get cache.slicedb --id gear --revision 2 -o gear.cli", "finds it again");
  AddPutCommand(db);
  AddGetCommand(db);
  AddListCommand(db);
  AddDropCommand(db);
}

}  // namespace Tool
