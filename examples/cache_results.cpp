// Keeps slicing results in a cache database: slices a part once, takes its layers at another place on the platform from
// the cache, saves the database, and finds them there again as a later session would.
//
//   cache_results DATABASE
//
// Exits with 0 if the part was sliced once and the layers from the cache are those that slicing at their place gives.

#include <SliceData/slice_data_cache/CachedSliceStackSelectorDefault.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>
#include <SliceData/slice_data_cache/DatabaseDocument.h>
#include <SliceData/slice_data_cache/FindCachedStacks.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using namespace SliceDataCaching;

void Require(bool holds, char const* what) {
  if (!holds) throw std::runtime_error(what);
}

/// A pyramid of four sides. Measures in internal units of 0.1 µm.
struct Part {
  MStlRevisionSystem::MIDCard id_card{"pyramid-4711", "revision 1"};
  long edge = 200000;
  long num_layers = 200;
  M2DSliceZAreaTypeInfo recipe{e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Middle, 500};  ///< of a layer
};

int g_num_slicings = 0;

/// What takes long: slices the part where it stands.
boost::shared_ptr<M2DSliceStack> Slice(Part const& part, MMTransformMatrix const& position) {
  ++g_num_slicings;
  double dx = 0, dy = 0, dz = 0;
  position.GetTranslation(dx, dy, dz);
  auto const stack = boost::make_shared<M2DSliceStack>();
  M2DSliceZArea area(static_cast<long>(dz));
  area.SetTypeInfo(part.recipe);
  for (long i = 0; i < part.num_layers; ++i, ++area) {
    auto border = stack->AddSlicePosition(area)->GetBorderUpdate();
    M2DSliceContour& square = border->AddContour();
    long const half = part.edge * (2 * (part.num_layers - i) - 1) / (4 * part.num_layers);
    for (auto const& [x, y] : {std::pair(-half, -half), {half, -half}, {half, half}, {-half, half}}) {
      square.AddPoint(static_cast<long>(dx) + x, static_cast<long>(dy) + y);
    }
    square.GetVectorTypeInfo().SetType(e2DSliceVectorType::Border);
  }
  return stack;
}

CachedSliceStackKeyInfo MakeKey(Part const& part, MMTransformMatrix const& position) {
  CachedSliceStackKeyInfo key;
  key.Init(CacheTypeSlicingUniquePart, part.id_card, &position, part.recipe);
  return key;
}

/// The slices of a part: from whichever database has them, otherwise sliced now and kept.
CachedSliceStack& GetSlices(Part const& part, MMTransformMatrix const& position) {
  CachedSliceStackKeyInfo const key = MakeKey(part, position);
  CachedSliceStack* cached = FindSuitedCachedStack(CachedSliceStackSelectorDefault(&key));
  if (cached == nullptr) {
    DatabaseCachedSliceStacks* const database = FindSuitedTargetDatabase(key);
    Require(database != nullptr, "there is no database that takes new entries");
    auto const stack = Slice(part, position);  // first, so that a failure leaves no empty entry
    cached = database->AddCachedSliceStack(key);
    cached->SetSliceStack({stack}, part.recipe, &position);
  }
  cached->AddUsedPosition(position);
  return *cached;
}

/// Compares the layers that the cache gives for a position with those that slicing gives there.
void Check(CachedSliceStack& cached, Part const& part, MMTransformMatrix const& position) {
  Require(cached.ValidateLoadedData(false), "the cached slices could not be read; slice the part anew");
  auto const expected = Slice(part, position);
  for (unsigned long i = 0; i < expected->GetNumSlices(); ++i) {
    M2DSliceStackSlice const& wanted = *std::as_const(*expected).GetSlice(i);
    M2DSlice layer(wanted.GetZArea());  // keeps its Z area; one without would get that of the stored slice
    Require(cached.GetSlice(layer, wanted.GetZArea(), &position), "the cache has no layer at a height of the part");
    M2DSliceXYArea const area = wanted.GetXYArea();
    Require(layer.GetXYArea() == area && layer.GetBorder().GetCount() == 1, "a layer from the cache differs");
  }
}

MMTransformMatrix MakePosition(double x_mm, double y_mm, double z_mm) {
  MMTransformMatrix position;
  position.MakeTranslation(10000 * x_mm, 10000 * y_mm, 10000 * z_mm);
  return position;
}

void WorkAndSave(Part const& part, char const* path) {
  DatabaseCachedSliceStacks database(true);  // true: takes new entries
  GetSlices(part, MakePosition(30, 30, 0));
  Require(g_num_slicings == 1, "the part was found though it was never sliced");

  MMTransformMatrix const elsewhere = MakePosition(120, 45.5, 2);
  CachedSliceStack& cached = GetSlices(part, elsewhere);
  Require(g_num_slicings == 1, "the part was not found in the cache");
  Check(cached, part, elsewhere);

  WriteDatabaseDocument(path, database);  // a database that was there stays until the new one is whole
}

void WorkOnLater(Part const& part, char const* path) {
  DatabaseCachedSliceStacks database(true);
  VelAM::SaxUtilities::ReadReport report;
  if (!ReadDatabaseDocument(path, database, &report)) throw std::runtime_error(report.error);

  // Slices stay in the document until they are asked for.
  g_num_slicings = 0;
  MMTransformMatrix const position = MakePosition(-10, 80, 0);
  CachedSliceStack& cached = GetSlices(part, position);
  Require(g_num_slicings == 0, "the part was not found in the database that was read");
  Check(cached, part, position);

  // What would be other slices is not found: another revision, thickness or orientation.
  Part changed = part;
  changed.id_card.MakeNewRevision();
  CachedSliceStackKeyInfo const key = MakeKey(changed, position);
  Require(FindSuitedCachedStack(CachedSliceStackSelectorDefault(&key)) == nullptr, "a part that changed was found");

  std::vector<MMTransformMatrix const*> positions;
  cached.GetUsedPositions(positions);
  std::cout << database.GetSize() << " part in " << path << ", used at " << positions.size() << " positions\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " DATABASE\n";
    return 2;
  }
  try {
    Part const part;
    WorkAndSave(part, argv[1]);
    WorkOnLater(part, argv[1]);
  } catch (std::exception const& error) {
    std::cerr << argv[0] << ": " << error.what() << '\n';  // names the file and the cause, and says what to do
    return 1;
  }
  return 0;
}
