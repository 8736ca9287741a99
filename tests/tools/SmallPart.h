#pragma once

#include <string>

/// The text of a CLI file in mm: layers 0.1 mm apart from z 0.1 on. Each has a closed triangle (1,2) (11,2) (1,7), an
/// open path (-3,-4) (-3,0), and a hatch of one vector (2,3) (4,3).
inline std::string MakeSmallPart(int num_layers) {
  std::string text =
      "$$HEADERSTART\n$$ASCII\n$$UNITS/1\n$$VERSION/200\n$$LABEL/1,bracket\n$$HEADEREND\n$$GEOMETRYSTART\n";
  for (int i = 1; i <= num_layers; ++i) {
    text += "$$LAYER/" + std::to_string(i / 10) + '.' + std::to_string(i % 10) + '\n';
    text += "$$POLYLINE/1,1,4,1,2,11,2,1,7,1,2\n$$POLYLINE/1,2,2,-3,-4,-3,0\n$$HATCHES/1,1,2,3,4,3\n";
  }
  return text + "$$GEOMETRYEND\n";
}

/// One layer whose power changes within, which only the ASCII form can hold.
inline std::string MakePartWithPower() {
  std::string text = MakeSmallPart(1);
  text.insert(text.find("$$POLYLINE"), "$$POWER/150\n");
  return text.insert(text.find("$$HATCHES"), "$$POWER/200\n");
}
