#include <SliceFormats/lattice/LatticeSource.h>
#include <SliceFormats/svg/SvgTarget.h>

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SliceFiles.h"
#include "support/Slices.h"

namespace {

using SliceFormats::FormatReport;
using SliceFormats::SvgOptions;
using SliceFormats::SvgTarget;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing_support::AddContour;

/// What keeps a text from being well-formed XML, as far as a picture of ours could go wrong; empty if nothing does.
std::string FindXmlFault(std::string const& xml) {
  auto const has_bare_character = [](std::string const& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
      auto const is = [&](char const* entity) { return text.compare(i, std::strlen(entity), entity) == 0; };
      if (text[i] == '<' || text[i] == '>' || (static_cast<unsigned char>(text[i]) < ' ' && text[i] != '\n'))
        return true;
      if (text[i] == '&' && !is("&amp;") && !is("&lt;") && !is("&gt;") && !is("&quot;")) return true;
    }
    return false;
  };
  std::vector<std::string> open;
  std::size_t at = xml.find("?>") + 2;
  while (at < xml.size()) {
    std::size_t const begin = std::min(xml.find('<', at), xml.size());
    if (has_bare_character(xml.substr(at, begin - at))) return "a bare character before byte " + std::to_string(begin);
    if (begin == xml.size()) break;
    std::size_t const end = xml.find('>', begin);
    if (end == std::string::npos) return "a tag without end";
    std::string const tag = xml.substr(begin + 1, end - begin - 1);
    at = end + 1;
    if (has_bare_character(tag)) return "a bare character in " + tag;
    if (std::count(tag.begin(), tag.end(), '"') % 2 != 0) return "a stray quotation mark in " + tag;
    if (tag.front() == '/') {
      if (open.empty() || open.back() != tag.substr(1)) return "a stray end tag: " + tag;
      open.pop_back();
    } else if (tag.back() != '/') {
      open.push_back(tag.substr(0, tag.find(' ')));
    }
  }
  return open.empty() ? "" : "an open tag: " + open.back();
}

template <class Fill>
std::string Draw(SvgOptions const& options, Fill&& fill, FormatReport* report = nullptr) {
  ScratchDirectory const directory;
  SvgTarget target(directory / "out.svg", options, report);
  EXPECT_TRUE(target.StartAddingSlices());
  fill(target);
  EXPECT_TRUE(target.StopAddingSlices());
  EXPECT_THAT(directory.List(), ElementsAre("out.svg"));
  return ReadBytes(directory / "out.svg");
}

TEST(SvgTarget, DrawsEveryKindOfElementInMillimetresWithYUpward) {
  M2DSlice slice(-12345);
  M2DSliceContourLayer& border = *slice.GetBorderUpdate();
  AddContour(border, {{0, 0}, {100000, 0}, {100000, 50000}});
  AddContour(border, {{-10, 20}, {30, 40}, {50, 60}}).SetVectorTypeInfo(e2DSliceVectorType::General);
  AddContour(border, {{1, 2}, {3, 4}}, false);
  border.GetFirst()->GetVectorTypeInfo().SetType("a<b>&\"c\"\x01\xff");
  testing_support::AddVectors(*slice.GetVectorsUpdate(), {{10000, 20000, 5, -5}});
  testing_support::AddPoints(*slice.GetPointsUpdate(), {{10000, 15000}});
  AddContour(*slice.GetAreasUpdate(), {{0, 0}, {10000, 0}, {0, 10000}});

  SvgOptions options;
  options.title = "Q&A <1>";
  options.first_layer = 7;
  FormatReport report;
  std::string const svg = Draw(
      options, [&](SvgTarget& target) { target.AddSlice(slice); }, &report);
  EXPECT_EQ(FindXmlFault(svg), "");
  EXPECT_THAT(svg, HasSubstr("<g id=\"layer-7\" data-z-mm=\"-1.2345\">"));
  EXPECT_THAT(svg, HasSubstr("d=\"M0 0L10 0 10 5Z\n\"/>"));
  EXPECT_THAT(svg, HasSubstr("d=\"M-0.001 0.002L0.003 0.004 0.005 0.006Z\n\"/>"));
  EXPECT_THAT(svg, HasSubstr("d=\"M0.0001 0.0002L0.0003 0.0004\n\"/>"));
  EXPECT_THAT(svg, HasSubstr("d=\"M1 0.0005L2 -0.0005\"/>"));
  EXPECT_THAT(svg, HasSubstr("d=\"M1 1.5h0\"/>"));
  EXPECT_THAT(svg, HasSubstr("class=\"area\""));
  EXPECT_THAT(svg, HasSubstr("scale(1 -1)"));
  EXPECT_THAT(svg, HasSubstr(">Q&amp;A &lt;1&gt;</text>"));
  EXPECT_THAT(svg, HasSubstr(">a&lt;b&gt;&amp;&quot;c&quot;\xEF\xBF\xBD\xEF\xBF\xBD: 1 contour</text>"));
  EXPECT_THAT(svg, HasSubstr(">General: 2 contours, 1 vector, 1 point, 1 area contour</text>"));
  EXPECT_THAT(svg, HasSubstr(">2 mm</text>"));
  EXPECT_THAT(report.GetNotes(), testing::IsEmpty());

  options.legend = options.scale_bar = false;
  options.title.clear();
  EXPECT_THAT(Draw(options, [&](SvgTarget& target) { target.AddSlice(slice); }), Not(HasSubstr("<text")));
}

TEST(SvgTarget, LeavesHolesFreeByOnePathForContoursOfOneType) {
  SliceFormats::LatticeSource const lattice({8, 4, 0.5});
  auto const draw = [&](SvgTarget& target) {
    for (unsigned long i = 0; i < 2; ++i) target.AddSlice(*lattice.GetSlice(i));
  };
  FormatReport report;
  std::string const svg = Draw({}, draw, &report);
  EXPECT_EQ(FindXmlFault(svg), "");
  EXPECT_THAT(svg, HasSubstr(">Layers 0 to 1, z = 0.5 to 1 mm</text>"));
  std::size_t paths = 0;
  for (auto at = svg.find("class=\"contour\""); at != std::string::npos; at = svg.find("class=\"contour\"", at + 1))
    ++paths;
  EXPECT_EQ(paths, 2u);
  EXPECT_THAT(svg, HasSubstr("fill-rule=\"evenodd\""));
  EXPECT_THAT(report.GetNotes(), ElementsAre(HasSubstr("indices, flags and numbers")));
  EXPECT_EQ(Draw({}, draw), svg);
}

TEST(SvgTarget, MarksWhereContoursBeginAndWhichWayTheyRun) {
  // A pixel is 1000 units, an arrow 8 pixels long and wide; the first one comes after 40 pixels, or half way.
  M2DSlice slice(0);
  AddContour(*slice.GetBorderUpdate(), {{0, 0}, {50000, 0}}, false);
  AddContour(*slice.GetBorderUpdate(), {});
  AddContour(*slice.GetAreasUpdate(), {{0, 900000}, {0, 900000}, {0, 899000}});
  testing_support::AddVectors(*slice.GetVectorsUpdate(), {{100000, 80000, 1000, 1000}, {0, 16000, 0, 0}});
  SvgOptions options;
  EXPECT_THAT(Draw(options, [&](SvgTarget& target) { target.AddSlice(slice); }),
              AllOf(Not(HasSubstr("class=\"starts\"")), Not(HasSubstr("class=\"directions\""))));
  options.start_points = true;
  options.directions = true;
  std::string const svg = Draw(options, [&](SvgTarget& target) { target.AddSlice(slice); });
  EXPECT_EQ(FindXmlFault(svg), "");
  EXPECT_THAT(svg, HasSubstr("class=\"directions\" stroke=\"#222222\" d=\"\n"
                             "M2.1 0.4L2.9 0 2.1 -0.4\n"
                             "M9.4 -0.3L8.6 0.1 9.4 0.5\n\"/>"));
  EXPECT_THAT(svg, HasSubstr("class=\"starts\" stroke=\"#222222\" d=\"\nM0 0h0\"/>"));
  EXPECT_THAT(svg, HasSubstr("class=\"starts\" stroke=\"#222222\" d=\"\nM0 90h0\"/>"));
}

TEST(SvgTarget, DrawsNothingAndSinglePointsToo) {
  EXPECT_EQ(FindXmlFault(Draw({}, [](SvgTarget&) {})), "");
  std::string const svg = Draw({}, [](SvgTarget& target) {
    M2DSlice slice(0);
    AddContour(*slice.GetBorderUpdate(), {{5, 5}});
    AddContour(*slice.GetBorderUpdate(), {});
    target.AddSlice(slice);
  });
  EXPECT_EQ(FindXmlFault(svg), "");
  EXPECT_THAT(svg, Not(HasSubstr("inf")));
  EXPECT_THAT(svg, Not(HasSubstr("nan")));
  SvgOptions options;
  options.stroke_width_px = 0;
  EXPECT_THROW(SvgTarget("x.svg", options), std::invalid_argument);
}

}  // namespace
