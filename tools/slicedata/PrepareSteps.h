#pragma once

#include <functional>
#include <string>
#include <vector>

#include "TypePattern.h"

class M2DSlice;

namespace Tool {

/// One operation of 'prepare' on a layer.
struct PrepareStep {
  std::string description;                                        ///< what it does, for the user
  std::function<void(M2DSlice& slice, unsigned long layer)> run;  ///< the layer counts in the whole file
};

// What the values of the options stand for. All throw `Trouble` for one they cannot use.

// By type record; in TypeSteps.cpp.
PrepareStep MakeKeepStep(std::vector<TypePattern> const& patterns);
PrepareStep MakeDropStep(std::vector<TypePattern> const& patterns);
PrepareStep ParseSupportStep(std::string const& value);
PrepareStep ParseSetTypeStep(std::string const& value);
PrepareStep ParseSetFlagStep(std::string const& value);
PrepareStep ParseSetIndexStep(std::string const& value);
PrepareStep ParseSortStep(std::string const& value);
std::vector<std::string> GetSortRuleNames();
PrepareStep ParsePolylinesStep(std::string const& value);

// By coordinates; in GeometrySteps.cpp.
PrepareStep ParseStartStep(std::string const& value);
/// With the colon behind those that have arguments.
std::vector<std::string> GetStartRuleNames();
/// \param value  a list of options, may be empty
PrepareStep ParseContoursToVectorsStep(std::string const& value);
PrepareStep MakeVectorsToContoursStep();
PrepareStep MakeRemoveEqualPointsStep();
PrepareStep MakeOrientStep();

}  // namespace Tool
