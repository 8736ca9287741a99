#include <SliceData/platform/sax/BinaryOutHolder.h>
#include <SliceData/platform/sax/MDocumentWriter.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>
#include <SliceFormats/stack_document/StackDocumentTarget.h>

#include <array>
#include <cctype>
#include <gmock/gmock.h>
#include <map>
#include <string>
#include <string_view>

#include "support/RandomSlices.h"
#include "tools/Browser.h"
#include "tools/Program.h"
#include "tools/SmallPart.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing_support::AddContour;

/// The document in a page; empty without one.
std::string GetEmbedded(std::string const& page) {
  constexpr std::string_view kBegin = "<script type=\"application/octet-stream\">";
  std::string bytes;
  for (auto at = page.find(kBegin); at != std::string::npos; at = page.find(kBegin, at)) {
    at += kBegin.size();
    std::uint32_t group = 0;
    int num_bits = 0;
    for (; page[at] != '<' && page[at] != '='; ++at) {
      auto const c = static_cast<unsigned char>(page[at]);
      group = group << 6 | static_cast<std::uint32_t>(c == '+'     ? 62
                                                      : c == '/'   ? 63
                                                      : isdigit(c) ? c - '0' + 52
                                                      : isupper(c) ? c - 'A'
                                                                   : c - 'a' + 26);
      if ((num_bits += 6) < 8) continue;
      num_bits -= 8;
      bytes += static_cast<char>(group >> num_bits & 0xFF);
    }
  }
  return bytes;
}

class View : public ProgramTest {
 protected:
  /// Layers 0.05 mm apart, with one vector more in each, with points, areas, an open contour and a type of their own.
  void WriteColourfulPart(std::string const& name, int num_layers) const {
    SliceFormats::StackDocumentTarget target(GetWorkPath(name));
    target.StartAddingSlices();
    for (int layer = 1; layer <= num_layers; ++layer) {
      M2DSlice slice(layer * 500);
      slice.GetZArea().SetTypeInfo({e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 500});
      auto border = slice.GetBorderUpdate();
      AddContour(*border, {{0, 0}, {200000, 0}, {200000, 100000}, {0, 100000}})
          .SetVectorTypeInfo(e2DSliceVectorType::Border);
      AddContour(*border, {{20000, 20000}, {20000, 80000}, {60000, 80000}}, false)
          .SetVectorTypeInfo(e2DSliceVectorType::BorderUp);
      M2DSliceVectorBlock& hatches = slice.GetVectorsUpdate()->AddVectorBlock();
      hatches.SetVectorTypeInfo(e2DSliceVectorType::Hatching);
      for (long i = 0; i < 50 + layer; ++i) hatches.push_back({80000, 180000, i * 1000 + 10000, i * 1000 + 10000});
      M2DSliceVectorTypeInfo record;
      record.SetType("Lattice <Node>");
      M2DSlicePointBlock& points = slice.GetPointsUpdate()->AddPointBlock();
      points.SetVectorTypeInfo(record);
      for (long i = 0; i < 20; ++i) points.push_back({10000 + i * 9000, 90000});
      AddContour(*slice.GetAreasUpdate(), {{70000, 5000}, {190000, 5000}, {190000, 70000}, {70000, 70000}})
          .SetVectorTypeInfo(e2DSliceVectorType::BorderDown);
      target.AddSlice(slice);
    }
    target.StopAddingSlices();
  }
};

TEST_F(View, PageHoldsTheDocumentThatConvertWrites) {
  Write("<b>&'part\".cli", MakeSmallPart(5));
  WriteColourfulPart("rich.slicestack", 3);
  RunSilently({"generate", "lattice", "-o", "pieces.cli", "--size", "12", "--cell", "2", "--thickness", "0.1"});
  for (std::string const name : {"<b>&'part\".cli", "rich.slicestack", "pieces.cli"}) {
    RunSilently({"convert", name, "-o", "converted.slicestack", "--force"});
    RunSilently({"view", name, "-o", "page.html", "--force"});
    EXPECT_TRUE(GetEmbedded(Read("page.html")) == Read("converted.slicestack")) << name;
  }
  ASSERT_GT(Read("converted.slicestack").size(), 3u << 20) << "one piece";

  RunSilently({"view", "<b>&'part\".cli", "-o", "page.html", "--layers", "2:3", "--force", "--paging", "multiple"});
  RunSilently({"convert", "<b>&'part\".cli", "-o", "converted.slicestack", "--layers", "2:3", "--force"});
  EXPECT_TRUE(GetEmbedded(Read("page.html")) == Read("converted.slicestack"));
  EXPECT_THAT(Read("page.html"), AllOf(HasSubstr("\"\\u003cb>&'part\\\".cli\""), HasSubstr("\"firstLayer\": 2")));
  EXPECT_THAT(Read("page.html"),
              HasSubstr("\"extent\": {\"minX\": -30000, \"minY\": -40000, \"maxX\": 110000, \"maxY\": 70000}"));
  EXPECT_THAT(GetFiles(), testing::Not(testing::Contains(HasSubstr(".html."))));
}

TEST_F(View, PageAsksForNothingFromElsewhere) {
  RunSilently({"view", "-o", "page.html"});
  std::string const page = Read("page.html");
  EXPECT_EQ(GetEmbedded(page), "");
  EXPECT_THAT(page, HasSubstr("http-equiv=\"Content-Security-Policy\" content=\"default-src 'none';"));
  for (char const* const trace :
       {"://", "url(", "@import", "src=", "fetch(", "XMLHttp", "WebSocket", "{{page", "<!--"}) {
    EXPECT_THAT(page, Not(HasSubstr(trace)));
  }
  auto const built =
      std::filesystem::path(SLICEDATA_PROGRAM).parent_path().parent_path() / "share" / "slicedata" / "view.html";
  std::ifstream file(built, std::ios::binary);
  EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(file), {}) == page) << built;
}

TEST_F(View, WhatCannotBeShownIsOneLine) {
  Write("part.cli", MakeSmallPart(2));
  Write("there.html", "mine");
  EXPECT_THAT(RunIntoTrouble({"view", "part.cli", "-o", "there.html"}), HasSubstr("--force"));
  EXPECT_THAT(RunIntoTrouble({"view", "-o", "there.html"}), HasSubstr("--force"));
  EXPECT_THAT(RunIntoTrouble({"view", "part.cli", "-o", "page.svg"}), HasSubstr("name it .html"));
  EXPECT_THAT(RunIntoTrouble({"view", "-o", "page.html", "--layers", "3"}), HasSubstr("FILE is missing"));
  {
    M2DSlice slice(0);
    slice.GetVectorsUpdate()->AddVectorBlock().resize(1 << 20);
    SliceFormats::StackDocumentTarget target(GetWorkPath("large.slicestack"));
    target.StartAddingSlices();
    for (long z = 1; z <= 17; ++z) {
      slice.SetZArea(M2DSliceZArea(z));
      target.AddSlice(slice);
    }
    target.StopAddingSlices();
  }
  EXPECT_THAT(RunIntoTrouble({"view", "large.slicestack", "-o", "page.html"}),
              AllOf(HasSubstr("large.slicestack: it takes more than 256 MiB"), HasSubstr("--layers"),
                    HasSubstr("share/slicedata/view.html\n")));
  EXPECT_FALSE(Exists("page.html"));
  EXPECT_EQ(Read("there.html"), "mine");
}

/// The page in a browser, light and of one size. Skips where there is none.
class ViewInBrowser : public View {
 protected:
  void SetUp() override {
    if (!m_browser.IsThere()) GTEST_SKIP() << "there is no browser; install the Debian package chromium";
    m_browser.Do("scheme light");
    m_browser.Do("size 1200 800 2");
  }
  void TearDown() override { EXPECT_EQ(m_browser.IsThere() ? m_browser.Do("troubles") : "", ""); }

  void Open(std::string const& page) {
    m_browser.Do("open " + GetWorkPath(page));
    Evaluate(
        "readsOf = [], originalRead = StackDocument.prototype.readSlice, "
        "StackDocument.prototype.readSlice = function (index) { "
        "readsOf.push(index); opened = this; return originalRead.call(this, index); }, 0");
  }
  std::string Evaluate(std::string const& code) { return m_browser.Evaluate(code); }
  void WaitForLayer(std::string const& number) {
    m_browser.WaitFor("byId('stage').dataset.layer === '" + number + "' && !byId('stage').classList.contains('busy')");
    WaitForFrame();
  }
  void WaitForFrame() { Evaluate("new Promise(done => setTimeout(() => requestAnimationFrame(() => done(0)), 200))"); }

  /// How many pixels of the picture have about this colour, "rrggbb", in a part of it from 0 to 1 each way.
  long CountPixels(std::string const& colour, std::string const& place = "0, 0, 1, 1") {
    std::string const count = Evaluate(
        "((x, y, w, h) => { const { width, height } = byId('canvas'); "
        "const copy = new OffscreenCanvas(width, height).getContext('2d'); copy.drawImage(byId('canvas'), 0, 0); "
        "const { data } = copy.getImageData(x * width, y * height, w * width, h * height); "
        "const wanted = [0, 2, 4].map((i) => parseInt('" +
        colour +
        "'.slice(i, i + 2), 16)); let count = 0; "
        "for (let i = 0; i < data.length; i += 4) "
        "if (wanted.every((value, c) => Math.abs(value - data[i + c]) <= 24)) ++count; return count; })(" +
        place + ")");
    return std::stol(count);
  }
  std::string GetFigure(std::string const& name) {
    return Evaluate("document.querySelector('[data-figure=\"" + name + "\"]').textContent");
  }

  /// A text of all that the page reads from a file that is dropped on it.
  std::string GetDigestOfPage(std::string const& name);
  /// The same as this library reads it.
  std::string GetDigest(std::string const& name) const;

  Browser m_browser;
};

TEST_F(ViewInBrowser, ShowsTheLayersOfItsDocument) {
  WriteColourfulPart("rich.slicestack", 40);
  RunSilently({"view", "rich.slicestack", "-o", "page.html", "--layers", "5:30"});
  RunSilently({"render", "rich.slicestack", "--layer", "5", "-o", "layer.svg"});
  Open("page.html");
  WaitForLayer("17");
  EXPECT_EQ(Evaluate("document.title"), "\"rich.slicestack\"");
  EXPECT_EQ(Evaluate("byId('summary').textContent"), "\"26 layers, z 0.3 to 1.55 mm\"");
  EXPECT_EQ(GetFigure("thickness"), "\"0.05 mm\"");
  EXPECT_EQ(GetFigure("size"), "\"20 × 10 mm\"");
  EXPECT_EQ(GetFigure("contours"), "\"2\"");
  EXPECT_EQ(GetFigure("contour points"), "\"7\"");
  EXPECT_EQ(GetFigure("vectors"), "\"68\"");
  EXPECT_EQ(GetFigure("points"), "\"20\"");
  EXPECT_EQ(GetFigure("area contours"), "\"1\"");

  // The picture has the colours of other pictures, and y upward: what is high has the more pixels there.
  std::string const svg = Read("layer.svg");
  auto const get_colour = [&](std::string const& type) {
    auto const place = svg.find("stroke=\"#", svg.find("data-type=\"" + type));
    return svg.substr(place + 9, 6);
  };
  std::string const node = get_colour("Lattice &lt;Node&gt;");
  EXPECT_GT(CountPixels(get_colour("Border")), 500);
  std::string const upper = "0, 0, 1, 0.5";
  std::string const lower = "0, 0.5, 1, 0.5";
  std::string const up = get_colour("BorderUp");
  EXPECT_GT(CountPixels(up, upper), CountPixels(up, lower) + 200);
  std::string const down = get_colour("BorderDown");
  EXPECT_GT(CountPixels(down, lower), CountPixels(down, upper) + 200);
  EXPECT_GT(CountPixels(node, upper), 100);
  EXPECT_EQ(CountPixels(node, lower), 0);
  EXPECT_GT(CountPixels("dbebf5"), 10000) << "inside of contours";
  std::string const hatching = get_colour("Hatching");
  EXPECT_GT(CountPixels(hatching, lower), CountPixels(hatching, upper) + 1000);
  EXPECT_EQ(CountPixels(hatching, "0, 0, 0.3, 1"), 0);
  EXPECT_EQ(Evaluate("[...byId('legend').children].map(row => row.innerText.split('\\n').join(' '))"),
            "[\"Border 1 contour\", \"BorderDown 1 area contour\", \"BorderUp 1 contour\", \"Hatching 68 vectors\", "
            "\"Lattice <Node> 20 points\"]");

  // Types and marks are switched.
  Evaluate("document.querySelector('[data-type=Hatching] input').click()");
  WaitForFrame();
  EXPECT_EQ(CountPixels(hatching), 0);
  EXPECT_GT(CountPixels(node), 100);
  long const ink = CountPixels("222222");
  Evaluate("byId('starts').click()");
  WaitForFrame();
  long const with_starts = CountPixels("222222");
  EXPECT_GT(with_starts, ink + 30);
  Evaluate("byId('directions').click()");
  WaitForFrame();
  EXPECT_GT(CountPixels("222222"), with_starts + 100);

  // Keys, slider and fields go through the layers.
  std::string const picture = Evaluate("byId('canvas').toDataURL()");
  for (auto const& [key, layer] : {std::pair("End", "30"), std::pair("ArrowDown", "29"), std::pair("PageDown", "19"),
                                   std::pair("Home", "5"), std::pair("ArrowUp", "6"), std::pair("PageUp", "16")}) {
    m_browser.Do(std::string("key ") + key);
    WaitForLayer(layer);
  }
  EXPECT_EQ(Evaluate("[byId('slider').value, byId('number').value, byId('height').value]"),
            "[\"11\", \"16\", \"0.85\"]");
  Evaluate("byId('height').value = 0.44; byId('height').dispatchEvent(new Event('change')), 0");
  WaitForLayer("8");
  EXPECT_EQ(GetFigure("vectors"), "\"59\"");
  Evaluate(
      "readsOf.length = 0; for (const value of Array(26).keys()) { byId('slider').value = value; "
      "byId('slider').dispatchEvent(new Event('input')); }");
  WaitForLayer("30");
  EXPECT_LE(std::stol(Evaluate("readsOf.length")), 2) << "layers that nobody waits for any more";
  Evaluate("byId('number').value = 17; byId('number').dispatchEvent(new Event('change'))");
  WaitForLayer("17");
  EXPECT_TRUE(Evaluate("byId('canvas').toDataURL()") == picture) << "the view stays where it is";

  // The wheel zooms at the pointer, and 0 shows all again.
  auto const get_x_at_pointer = [&] {
    return std::stod(
        Evaluate("byId('canvas').dispatchEvent(new PointerEvent('pointermove', { clientX: 300, clientY: 400 "
                 "})), Number(byId('place').textContent.split(' ')[1])"));
  };
  double const x = get_x_at_pointer();
  std::string const bar = Evaluate("byId('scale-text').textContent");
  for (int i = 0; i < 5; ++i) m_browser.Do("wheel 300 400 -200");
  WaitForFrame();
  EXPECT_NE(Evaluate("byId('scale-text').textContent"), bar);
  EXPECT_NEAR(get_x_at_pointer(), x, 0.05);
  EXPECT_FALSE(Evaluate("byId('canvas').toDataURL()") == picture);
  m_browser.Do("key 0");
  WaitForFrame();
  EXPECT_TRUE(Evaluate("byId('canvas').toDataURL()") == picture);

  m_browser.Do("scheme dark");
  WaitForFrame();
  EXPECT_EQ(CountPixels("ffffff"), 0);
  EXPECT_GT(CountPixels("14171b"), 10000);
}

std::string PercentEncode(std::string_view text) {
  std::string result;
  for (char const c : text) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
      result += c;
    } else {
      std::array<char, 4> hex{};
      std::snprintf(hex.data(), hex.size(), "%%%02X", static_cast<unsigned char>(c));
      result += hex.data();
    }
  }
  return result;
}

std::string ViewInBrowser::GetDigestOfPage(std::string const& name) {
  m_browser.Do("choose " + GetWorkPath(name));
  m_browser.WaitFor("byId('title').textContent === '" + name + "' && !byId('stage').classList.contains('busy')");
  std::string digest = Evaluate(R"js((async () => {
    let text = '';
    for (let layer = 0; layer < opened.layers.length; ++layer) {
      const slice = await opened.readSlice(layer);
      text += `${slice.z}/${slice.thickness}`;
      const types = {};
      for (const elements of [slice.contours, slice.vectors, slice.points, slice.areas]) {
        let [place, sum, closed] = [0, 0, 0];
        for (const { type, values, isClosed } of elements) {
          types[type] = (types[type] ?? 0) + 1;
          closed += isClosed ? 1 : 0;
          for (const value of values) sum += (place++ % 7 + 1) * value;
        }
        text += ` ${elements.length},${place},${sum},${closed}`;
      }
      const names = Object.entries(types).map(([type, count]) => `${encodeURIComponent(type)}:${count}`);
      text += ` ${names.sort().join(' ')};`;
    }
    return text;
  })())js");
  return digest;
}

std::string ViewInBrowser::GetDigest(std::string const& name) const {
  SliceFormats::StackDocumentSource const source(GetWorkPath(name));
  std::string text = "\"";
  for (unsigned long layer = 0; layer < source.StartGettingSlices(); ++layer) {
    M2DSlice slice;
    source.GetSlice(slice, layer);
    long const thickness = slice.GetZArea().GetTypeInfo().thickness;
    text += std::to_string(slice.GetZArea().GetZ()) + '/' +
            std::to_string(thickness != 0 ? thickness : source.GetSliceThickness());
    std::map<std::string, int> types;
    auto const add = [&](auto const& elements, auto const& for_each_value, auto const& is_closed) {
      long place = 0;
      long sum = 0;
      long closed = 0;
      for (auto const& element : elements) {
        ++types[PercentEncode(element.GetVectorTypeInfo().GetTypeName())];
        closed += is_closed(element);
        for_each_value(element, [&](long value) { sum += (place++ % 7 + 1) * value; });
      }
      text += ' ' + std::to_string(elements.GetCount()) + ',' + std::to_string(place) + ',' + std::to_string(sum) +
              ',' + std::to_string(closed);
    };
    auto const contour_values = [](M2DSliceContour const& contour, auto const& take) {
      for (M2DSliceContourPoint const& point : contour.GetPoints()) {
        take(point.x);
        take(point.y);
      }
    };
    auto const is_closed = [](M2DSliceContour const& contour) { return contour.GetIsClosed() ? 1 : 0; };
    auto const never = [](auto const&) { return 0; };
    add(slice.GetBorder(), contour_values, is_closed);
    add(
        slice.GetVectors(),
        [](M2DSliceVectorBlock const& block, auto const& take) {
          for (M2DSliceVector const& vector : block) {
            for (long const value : {vector.x1, vector.y1, vector.x2, vector.y2}) take(value);
          }
        },
        never);
    add(
        slice.GetPoints(),
        [](M2DSlicePointBlock const& block, auto const& take) {
          for (M2DSlicePoint const& point : block) {
            take(point.x);
            take(point.y);
          }
        },
        never);
    add(slice.GetAreas(), contour_values, is_closed);
    char separator = ' ';
    for (auto const& [type, count] : types) {
      (text += separator) += type + ':' + std::to_string(count);
      separator = ' ';
    }
    if (types.empty()) text += ' ';
    text += ';';
  }
  source.StopGettingSlices();
  return text + '"';
}

TEST_F(ViewInBrowser, ReadsDocumentsAsTheLibraryDoes) {
  {
    // Layers of a few tags, and one whose tags go on over several parts, in the middle of others that do so twice.
    SliceFormats::StackDocumentTarget target(GetWorkPath("parts.slicestack"));
    target.GetProperties().SetProperty<std::string>("Label", "for its own sake");
    target.GetProperties().SetProperty<long>("SliceThickness", 70);
    target.StartAddingSlices();
    testing_support::Random random(7);
    std::string const names[] = {"Lattice Node", "a<b>&\"c\"", "bell\x07", "Gr\xC3\xBCn", std::string(70000, 'x')};
    for (long z = 1; z <= 12; ++z) {
      M2DSlice slice(z * 1000);
      if (z % 2 == 0) slice.GetZArea().SetTypeInfo({e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, z});
      testing_support::FillRandomly(slice, random, z == 4 ? 15000 : z == 5 ? 0 : 2500);
      M2DSliceVectorTypeInfo record;
      record.SetType(names[z % 5].c_str());
      AddContour(*slice.GetBorderUpdate(), {{-2147483647 - 1, 2147483647}}).SetVectorTypeInfo(record);
      target.AddSlice(slice);
    }
    target.StopAddingSlices();
  }
  {
    // Slices of one height, of which the later one replaces a part; and a name that is written otherwise than it is.
    MDocumentWriter writer(GetWorkPath("heights.slicestack"), "SliceStack");
    for (auto const& [z, kind] :
         {std::pair("300", "Vectors"), std::pair("500", "Vectors"), std::pair("500", "Points")}) {
      MSAXTagWriter const slice(writer, "Slice");
      writer.WriteTextTag("Height", z);
      {
        MSAXTagWriter const area(writer, "AreaZ");
        writer.WriteTextTag("Z", z);
        MSAXTagWriter const type_info(writer, "TypeInfo");
        writer.WriteTextTag("Thickness", "100");
      }
      writer.WriteTextTag("what_is <this>?", "unknown");
      MSAXTagWriter const content(writer, kind);
      MSAXTagWriter const block(writer, std::string(kind) == "Points" ? "PointBlock" : "VectorBlock");
      MSAXTagWriter const coordinates(writer, "Coordinates");
      writer.WriteTextTag("Count", "0");
      BinaryOutHolder* holder = writer.CreateBinaryStream();
      writer.WriteBinaryStream("Data", &holder);
    }
    writer.Finish();
  }
  WriteColourfulPart("rich.slicestack", 2);
  // Beyond 4 GiB: as another program packs it, at the end of a file that is empty before.
  std::string const pack =
      "python3 -c \"import sys, zipfile\nwith open(sys.argv[2], 'wb') as file:\n file.seek(5 << 30)\n"
      " with zipfile.ZipFile(file, 'w') as zip, zipfile.ZipFile(sys.argv[1]) as whole:\n"
      "  for entry in whole.infolist(): zip.writestr(entry, whole.read(entry))\" ";
  ASSERT_EQ(std::system((pack + GetWorkPath("rich.slicestack") + ' ' + GetWorkPath("far.slicestack")).c_str()), 0);

  RunSilently({"view", "-o", "page.html"});
  Open("page.html");
  for (std::string const name : {"parts.slicestack", "heights.slicestack", "rich.slicestack"}) {
    EXPECT_TRUE(GetDigestOfPage(name) == GetDigest(name)) << GetDigestOfPage(name) << "\n\n" << GetDigest(name);
  }
  EXPECT_EQ(GetDigestOfPage("far.slicestack"), GetDigest("rich.slicestack"));
}

TEST_F(ViewInBrowser, MarksTheStartOfAContourThatIsTheOnlyOne) {
  std::string part = MakeSmallPart(1);
  auto const open_path = part.find("$$POLYLINE/1,2");
  Write("part.cli", part.erase(open_path, part.find('\n', open_path) + 1 - open_path));
  RunSilently({"view", "part.cli", "-o", "page.html"});
  Open("page.html");
  WaitForLayer("0");
  long const ink = CountPixels("222222");
  Evaluate("byId('starts').click()");
  WaitForFrame();
  EXPECT_GT(CountPixels("222222"), ink + 10);
}

TEST_F(ViewInBrowser, SaysWhatIsWrongWithAFile) {
  WriteColourfulPart("rich.slicestack", 300);
  std::string const rich = Read("rich.slicestack");
  auto const change = [&](std::size_t place) {
    std::string bytes = rich;
    bytes[place] = static_cast<char>(bytes[place] ^ 0x40);
    return bytes;
  };
  Write("cut.slicestack", rich.substr(0, rich.size() / 2));
  Write("empty.slicestack", "");
  Write("part.cli", MakeSmallPart(1));
  Write("tree.slicestack", change(rich.find("tree/000001.xml") + 2000));
  Write("coordinates.slicestack", change(rich.find("streams/000001.bin") + 60));
  MDocumentWriter(GetWorkPath("other.slicestack"), "CachedSliceDataFile").Finish();
  MDocumentWriter(GetWorkPath("bare.slicestack"), "SliceStack").Finish();

  RunSilently({"view", "-o", "page.html"});
  Open("page.html");
  EXPECT_EQ(Evaluate("byId('invitation').hidden"), "false");
  auto const get_message = [&](std::string const& name) {
    Evaluate("byId('message').textContent = '', 0");
    m_browser.Do("choose " + GetWorkPath(name));
    m_browser.WaitFor("byId('message').textContent !== ''");
    return Evaluate("byId('message').textContent");
  };
  for (auto const& [name, what] :
       {std::pair("cut.slicestack", "ends in the middle"), std::pair("empty.slicestack", "no stack document"),
        std::pair("part.cli", "slicedata convert"), std::pair("other.slicestack", "no stack of slices"),
        std::pair("bare.slicestack", "no layer"), std::pair("tree.slicestack", "damaged")}) {
    EXPECT_THAT(get_message(name), HasSubstr(what)) << name;
  }
  // A layer that is damaged is told, and others are shown.
  Evaluate("byId('message').textContent = ''");
  m_browser.Do("choose " + GetWorkPath("coordinates.slicestack"));
  WaitForLayer("149");
  EXPECT_EQ(Evaluate("byId('message').textContent"), "\"\"");
  m_browser.Do("key Home");
  WaitForLayer("0");
  EXPECT_THAT(Evaluate("byId('message').textContent"), HasSubstr("Layer 0: The document is damaged"));
  m_browser.Do("key End");
  WaitForLayer("299");
  EXPECT_EQ(Evaluate("byId('message').hidden"), "true");
  EXPECT_GT(CountPixels("0072b2"), 500);
  // What is shown stays if another file is none.
  EXPECT_THAT(get_message("part.cli"), HasSubstr("part.cli: "));
  EXPECT_GT(CountPixels("0072b2"), 500);
}

TEST_F(ViewInBrowser, ReadsNoMoreOfALargeDocumentThanItShows) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "writing two gigabytes takes long under sanitizers";
#endif
  {
    M2DSlice slice(0);
    M2DSliceVectorBlock& hatches = slice.GetVectorsUpdate()->AddVectorBlock();
    for (long i = 0; i < 1 << 16; ++i) hatches.push_back({0, 1000000, i * 15, i * 15});
    SliceFormats::StackDocumentTarget target(GetWorkPath("large.slicestack"));
    target.StartAddingSlices();
    for (long z = 1; z <= 2048; ++z) {
      slice.SetZArea(M2DSliceZArea(z * 300));
      target.AddSlice(slice);
    }
    target.StopAddingSlices();
  }
  ASSERT_GT(std::filesystem::file_size(GetWorkPath("large.slicestack")), 2ull << 30);
  RunSilently({"view", "-o", "page.html"});
  Open("page.html");
  Evaluate(
      "asked = 0, slicing = Blob.prototype.slice, Blob.prototype.slice = function (begin, end) { "
      "asked += end - begin; return slicing.call(this, begin, end); }, begin = performance.now(), 0");
  m_browser.Do("choose " + GetWorkPath("large.slicestack"));
  WaitForLayer("1023");
  EXPECT_EQ(GetFigure("vectors"), "\"65,536\"");
  EXPECT_LT(std::stol(Evaluate("asked")), 3 << 20);
  m_browser.Do("key End");
  WaitForLayer("2047");
  EXPECT_LT(std::stol(Evaluate("asked")), 6 << 20);
}

}  // namespace
