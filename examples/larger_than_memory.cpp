// Allows itself little memory, fills a stack with a lattice of ten times as much geometry, walks it, changes all of it,
// and walks it again. Nothing here takes notice of memory: the stack pages its slices to scratch files by itself.
//
//   larger_than_memory [--memory MEGABYTES] [--size TIMES]
//
// MEGABYTES is the memory that it may have (300), TIMES how many times as much the geometry is in memory form (10). It
// exits with 0 if all points were found where they belong and no scratch file was left behind.

#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/geometry/Transform.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/lattice/LatticeSource.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <utility>

namespace {

/// What is known of the geometry without looking at it again.
struct Content {
  long points = 0;
  long contours = 0;
  long sum_of_x = 0;

  double Megabytes() const { return static_cast<double>(points) * sizeof(M2DSliceContourPoint) / 1e6; }
};

Content ContentOf(M2DSliceContourLayer const& border) {
  Content content;
  for (M2DSliceContour const& contour : border) {
    ++content.contours;
    for (M2DSliceContourPoint const& point : contour.GetPoints()) {
      ++content.points;
      content.sum_of_x += point.x;
    }
  }
  return content;
}

void Add(Content& sum, Content const& part) {
  sum.points += part.points;
  sum.contours += part.contours;
  sum.sum_of_x += part.sum_of_x;
}

void Require(bool holds, char const* what) {
  if (!holds) throw std::runtime_error(what);
}

/// A sanitizer needs address space for itself, without limit.
void LimitMemory([[maybe_unused]] unsigned long bytes) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  rlimit const limit = {bytes, bytes};
  Require(::setrlimit(RLIMIT_AS, &limit) == 0, "the limit of memory could not be set");
#endif
}

/// Says how fast `work` went through so much geometry.
template <class Work>
void Run(char const* name, Content const& content, Work&& work) {
  auto const start = std::chrono::steady_clock::now();
  work();
  std::chrono::duration<double> const seconds = std::chrono::steady_clock::now() - start;
  std::printf("%-28s %6.1f s %8.0f MB/s\n", name, seconds.count(), content.Megabytes() / seconds.count());
}

/// A cube of which the layers together have at least so many points; a cubic millimetre has about 775 of them.
SliceFormats::LatticeOptions LatticeOfPoints(double points) {
  SliceFormats::LatticeOptions options;
  options.cell_mm = 2;
  options.size_mm = std::ceil(std::cbrt(points / 760) / options.cell_mm) * options.cell_mm;
  return options;
}

void Fill(M2DSliceStack& stack, SliceFormats::LatticeSource const& source, Content& content) {
  for (unsigned long i = 0; i < source.GetNumSlices(); ++i) {
    M2DSlice slice;
    source.GetSlice(slice, i);
    Add(content, ContentOf(slice.GetBorder()));
    stack.AddSlice(slice, true);  // true: the stack may take the content over
  }
}

void Walk(M2DSliceStack const& stack, Content const& expected) {
  Content found;
  for (unsigned long i = 0; i < stack.GetSize(); ++i) Add(found, ContentOf(stack.GetSlice(i)->GetBorder()));
  Require(found.points == expected.points && found.contours == expected.contours, "points were lost or came to it");
  Require(found.sum_of_x == expected.sum_of_x, "points are not where they belong");
}

/// Moves everything by 1 mm, and the first point of every contour by 0.1 µm more.
void Change(M2DSliceStack& stack, Content& content) {
  M2DSliceUtilities::TransformationMatrix shift;
  shift.MakeTranslation(10000, 0);
  M2DSliceUtilities::Transform(stack, shift, M2DSliceUtilities::TransformOptions());
  content.sum_of_x += 10000 * content.points;
  for (unsigned long i = 0; i < stack.GetSize(); ++i) {
    auto border = stack.GetSlice(i)->GetBorderUpdate();
    for (M2DSliceContour& contour : *border) ++contour.GetFirstPoint()->x;
  }
  content.sum_of_x += content.contours;
}

std::filesystem::path ScratchDirectory(M2DSliceStack const& stack) {
  auto const& file = stack.GetSlice(0)->GetBorderComponent().GetTempFile();
  Require(file != nullptr, "nothing was paged out; ask for more geometry");
  return std::filesystem::path(file->GetFileName()).parent_path();
}

void WorkOnStack(double megabytes, double times) {
  LimitMemory(static_cast<unsigned long>(megabytes * 1e6));
  SliceFormats::LatticeSource const source(LatticeOfPoints(megabytes * times * 1e6 / sizeof(M2DSliceContourPoint)));
  std::filesystem::path scratch;
  Content content;
  {
    M2DSliceStack stack;
    Run("make the lattice and fill", content, [&] { Fill(stack, source, content); });
    Run("walk", content, [&] { Walk(stack, content); });
    Run("map and edit all of it", content, [&] { Change(stack, content); });
    Run("walk again", content, [&] { Walk(stack, content); });

    scratch = ScratchDirectory(stack);
    double on_disk = 0;
    for (auto const& file : std::filesystem::directory_iterator(scratch))
      on_disk += static_cast<double>(file.file_size()) / 1e6;
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    double const peak = static_cast<double>(usage.ru_maxrss) * 1024 / 1e6;
    std::printf("%lu slices, %ld contours, %ld points\n", stack.GetSize(), content.contours, content.points);
    std::printf(
        "geometry in memory form %8.0f MB\nbytes on disk %18.0f MB\nmemory allowed %17.0f MB\npeak resident memory "
        "%11.0f MB\n",
        content.Megabytes(), on_disk, megabytes, peak);
  }
  Require(content.Megabytes() >= megabytes * times, "the lattice has less geometry than was asked for");
  Require(!std::filesystem::exists(scratch) || std::filesystem::is_empty(scratch), "scratch files were left behind");
}

}  // namespace

int main(int argc, char** argv) {
  double megabytes = 300;
  double times = 10;
  bool understood = true;
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--size" && i + 1 < argc) {
      times = std::atof(argv[++i]);
    } else if (std::string(argv[i]) == "--memory" && i + 1 < argc) {
      megabytes = std::atof(argv[++i]);
    } else {
      understood = false;
    }
  }
  if (!understood || !(megabytes >= 50 && megabytes <= 10000) || !(times >= 1 && times <= 1000)) {
    std::fprintf(stderr, "usage: %s [--memory MEGABYTES] [--size TIMES]: from 50 to 10000, and from 1 to 1000\n",
                 argv[0]);
    return 2;
  }
  try {
    WorkOnStack(megabytes, times);
  } catch (std::exception const& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
  }
  return 0;
}
