// The operations of 'prepare' that go by type record.

#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/type_operations/ElementQueries.h>
#include <SliceData/type_operations/Polylines.h>
#include <SliceData/type_operations/Sorting.h>
#include <SliceData/type_operations/VectorTypeFilter.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "Length.h"
#include "PrepareSteps.h"
#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

using TypeInfo = M2DSliceVectorTypeInfo;

/// A condition on type records, for the library's queries.
class RecordFilter final : public M2DSliceUtilities::IVectorTypeFilterObject {
 public:
  using Condition = std::function<bool(TypeInfo const& info)>;

  explicit RecordFilter(Condition condition) : m_condition(std::move(condition)) {}
  bool Matches(TypeInfo const& info) const override { return m_condition(info); }

 private:
  Condition m_condition;
};

void Remove(M2DSliceContourLayer& layer, RecordFilter const& filter) {
  std::vector<M2DSliceContour*> contours;
  M2DSliceUtilities::QueryContours(layer, contours, filter);
  M2DSliceUtilities::RemoveContours(layer, contours, nullptr);
}

void Remove(M2DSliceVectorLayer& layer, RecordFilter const& filter) {
  std::vector<M2DSliceVectorBlock*> blocks;
  M2DSliceUtilities::QueryVectorBlocks(layer, blocks, filter);
  M2DSliceUtilities::RemoveVectorBlocks(layer, blocks, nullptr);
}

void Remove(M2DSlicePointLayer& layer, RecordFilter const& filter) {
  std::vector<M2DSlicePointBlock*> blocks;
  M2DSliceUtilities::QueryPointBlocks(layer, blocks, filter);
  M2DSliceUtilities::RemovePointBlocks(layer, blocks, nullptr);
}

/// Removes every element whose record meets a condition.
PrepareStep MakeRemovalStep(std::string description, RecordFilter::Condition condition) {
  return {std::move(description), [filter = RecordFilter(std::move(condition))](M2DSlice& slice, unsigned long) {
            M2DSlice::ForEachRow([&](auto row) { Remove(*row.GetUpdate(slice), filter); });
          }};
}

/// Changes the record of every element.
PrepareStep MakeRecordStep(std::string description, std::function<void(TypeInfo& info)> change) {
  return {std::move(description), [change = std::move(change)](M2DSlice& slice, unsigned long) {
            M2DSlice::ForEachRow([&](auto row) {
              auto data = row.GetUpdate(slice);
              for (auto& element : *data) change(element.GetVectorTypeInfo());
            });
          }};
}

bool MatchesAny(std::vector<TypePattern> const& patterns, TypeInfo const& info) {
  return std::any_of(patterns.begin(), patterns.end(),
                     [&](TypePattern const& pattern) { return pattern.Matches(info); });
}

std::string Describe(std::vector<TypePattern> const& patterns) {
  std::vector<std::string> texts;
  for (TypePattern const& pattern : patterns) texts.push_back(pattern.GetText());
  return Join(texts, ", ");
}

struct SortRule {
  char const* name;
  void (*sort)(M2DSliceVectorLayer& layer);
};

constexpr SortRule kSortRules[] = {{"inside-out", M2DSliceUtilities::SortVectorBlocksInsideOut},
                                   {"left-to-right", M2DSliceUtilities::SortVectorBlocksLeftToRight},
                                   {"laser-melting", M2DSliceUtilities::SortVectorBlocksLaserMelting},
                                   {"scan-priority", M2DSliceUtilities::SortVectorBlocksOnScanPriority}};

}  // namespace

PrepareStep MakeKeepStep(std::vector<TypePattern> const& patterns) {
  return MakeRemovalStep("keep only " + Describe(patterns),
                         [patterns](TypeInfo const& info) { return !MatchesAny(patterns, info); });
}

PrepareStep MakeDropStep(std::vector<TypePattern> const& patterns) {
  return MakeRemovalStep("drop " + Describe(patterns),
                         [patterns](TypeInfo const& info) { return MatchesAny(patterns, info); });
}

PrepareStep ParseSupportStep(std::string const& value) {
  bool const keeps_support = value == "only";
  if (!keeps_support && value != "none") {
    throw Trouble("", "'" + value + "' says nothing about support", "give only or none");
  }
  return MakeRemovalStep(keeps_support ? "keep only support" : "drop support", [keeps_support](TypeInfo const& info) {
    return info.GetFlag(e2DSliceVectorTypeFlag::IsSupport) != keeps_support;
  });
}

PrepareStep ParseSetTypeStep(std::string const& value) {
  TypePattern const pattern(value);
  return MakeRecordStep("set the type " + pattern.GetText(), [pattern](TypeInfo& info) { pattern.ApplyTo(info); });
}

PrepareStep ParseSetFlagStep(std::string const& value) {
  std::string const name = value.substr(0, value.find('='));
  auto const flag = ParseFlagName(name);
  std::string const number = name.size() < value.size() ? value.substr(name.size() + 1) : "1";
  if (number != "0" && number != "1") {
    throw Trouble("", "'" + number + "' is no value of a flag", "write " + name + ", or " + name + "=0 to clear it");
  }
  bool const is_set = number == "1";
  return MakeRecordStep((is_set ? "set the flag " : "clear the flag ") + name,
                        [flag, is_set](TypeInfo& info) { info.SetFlag(flag, is_set); });
}

PrepareStep ParseSetIndexStep(std::string const& value) {
  std::string const name = value.substr(0, value.find('='));
  auto const index = ParseIndexName(name);
  if (name.size() == value.size()) throw Trouble("", "the value is missing", "write " + name + "=3, for instance");
  long const number = ParseWhole(value.substr(name.size() + 1), 0, std::numeric_limits<long>::max());
  return MakeRecordStep("set the index " + name + " to " + std::to_string(number),
                        [index, number](TypeInfo& info) { info.SetIndex(index, number); });
}

PrepareStep ParseSortStep(std::string const& value) {
  for (SortRule const& rule : kSortRules) {
    if (value == rule.name) {
      return {"sort the vector blocks by the rule " + value,
              [sort = rule.sort](M2DSlice& slice, unsigned long) { sort(*slice.GetVectorsUpdate()); }};
    }
  }
  throw Trouble("", "there is no rule '" + value + "'", "give one of " + Join(GetSortRuleNames(), ", "));
}

std::vector<std::string> GetSortRuleNames() {
  std::vector<std::string> names;
  for (SortRule const& rule : kSortRules) names.emplace_back(rule.name);
  return names;
}

PrepareStep ParsePolylinesStep(std::string const& value) {
  M2DSliceUtilities::OptionsPolylineToVectorBlocks options;
  options.maxGap = ParseLength(value);
  if (options.maxGap < 0) throw Trouble("", "'" + value + "' is below 0", "give a length of 0 mm or more");
  return {"cut vector blocks at gaps above " + FormatLength(options.maxGap) + " mm",
          [options](M2DSlice& slice, unsigned long) {
            M2DSliceUtilities::SplitInPolylineVectorBlocks(*slice.GetVectorsUpdate(), options);
          }};
}

}  // namespace Tool
