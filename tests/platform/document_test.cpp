#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/MZipWriter.h>
#include <SliceData/platform/sax/BinaryInHolder.h>
#include <SliceData/platform/sax/BinaryOutHolder.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentReader.h>
#include <SliceData/platform/sax/MDocumentTag.h>
#include <SliceData/platform/sax/MDocumentText.h>
#include <SliceData/platform/sax/MDocumentWriter.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>

#include <filesystem>
#include <gmock/gmock.h>
#include <libdeflate.h>
#include <random>
#include <sys/resource.h>
#include <system_error>

#include "support/DocumentParts.h"
#include "support/Files.h"
#include "support/Scratch.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing_support::DocumentPart;
using testing_support::ReadBytes;
using testing_support::WriteBytes;
using testing_support::WriteParts;
using VelAM::SaxUtilities::ReadFile;
using VelAM::SaxUtilities::ReadReport;
using VelAM::SaxUtilities::WriteFile;

/// A tag with all that it can hold. Every tag of a document that is read becomes one.
struct Node {
  std::string name;
  std::string text;
  std::map<std::string, std::string> attributes;
  std::vector<std::int32_t> values;  ///< the binary value; empty for none
  std::vector<Node> children;

  bool operator==(Node const& other) const {
    return name == other.name && text == other.text && attributes == other.attributes && values == other.values &&
           children == other.children;
  }
};

class NodeElement final : public ISAXPersistHelper {
 public:
  explicit NodeElement(Node* node) : m_node(node) {}

  bool HandleTag(std::string const& tag, MSAXReader& reader) override {
    Node& child = m_node->children.emplace_back();
    child.name = tag;
    child.attributes = reader.GetAttributes();
    BinaryInHolder* holder = nullptr;
    if (reader.GetBinaryStream(holder)) {
      child.values.resize(holder->GetStream().GetRemaining() / sizeof(std::int32_t));
      for (std::int32_t& value : child.values) holder->GetStream() >> serInt32_t(&value);
    } else {
      child.text = reader.GetTagText();
    }
    // A place of its own: other children may follow, and the list of them grows.
    reader.ReadOwnedSubObject(new NodeElement(&m_open_children.emplace_back(std::make_unique<Node>()).operator*()));
    return true;
  }
  void HandleEndTag(std::string const&) override {
    m_node->children.back().children = std::move(m_open_children.back()->children);
    m_open_children.pop_back();
  }

  bool Write(MSAXWriter& writer) const override {
    for (Node const& child : m_node->children) WriteNode(writer, child);
    return true;
  }

 private:
  static void WriteNode(MSAXWriter& writer, Node const& node) {
    if (!node.values.empty()) {
      BinaryOutHolder* holder = writer.CreateBinaryStream();
      for (std::int32_t const value : node.values) holder->GetStream() << serInt32_t(value);
      writer.WriteBinaryStream(node.name.c_str(), &holder);
      return;
    }
    MSAXTagWriter const tag(writer, node.name.c_str());
    for (auto const& [name, value] : node.attributes) writer.WriteTextAttribute(name.c_str(), value);
    writer.WriteTextValue(node.text);
    for (Node const& child : node.children) WriteNode(writer, child);
  }

  Node* m_node;
  std::vector<std::unique_ptr<Node>> m_open_children;
};

class RandomTree {
 public:
  explicit RandomTree(unsigned seed) : m_random(seed) {}

  Node Make(int depth) {
    Node node;
    node.name = MakeName();
    switch (depth == 0 ? Pick(3) : Pick(5)) {
      case 0:
        node.text = MakeText();
        break;
      case 1:
        node.values.resize(Pick(10) == 0 ? 1 + Pick(200000) : 1 + Pick(50), static_cast<int>(Pick(1000)));
        break;
      case 2:
        node.text = std::to_string(Pick(100000));
        break;
      default:
        for (std::size_t count = Pick(8); count != 0; --count) node.children.push_back(Make(depth - 1));
    }
    if (node.values.empty()) {
      for (std::size_t count = Pick(4); count > 1; --count) node.attributes[MakeName()] = MakeText().substr(0, 1000);
    }
    return node;
  }

  std::size_t Pick(std::size_t end) { return std::uniform_int_distribution<std::size_t>(0, end - 1)(m_random); }

 private:
  std::string MakeName() {
    static std::string const names[] = {
        "Slice", "Height",       "",     "_bytes", "_x41_", "a_x", "max_x_1", "Laser power (W)",
        "1st",   "\xC3\xA4rger", "\xFF", "<&>\"'", "a:b",   "_",   "__x_"};
    return names[Pick(std::size(names))];
  }
  std::string MakeText() {
    static std::string const texts[] = {"",
                                        " ",
                                        "two words",
                                        " \r\n\t ",
                                        "a<b>&\"c\"'",
                                        "_x41_",
                                        "\x01",
                                        "a\xFFz",
                                        "\xEF\xBF\xBF",
                                        "\xED\xA0\x80",
                                        "\xF0\x9F\x94\xA9",
                                        "]]>",
                                        "&lt;&#9;",
                                        std::string("nul\0nul", 7)};
    std::size_t const pick = Pick(std::size(texts) + 1);
    return pick < std::size(texts) ? texts[pick] : std::string(60000 + Pick(20000), 'x');
  }

  std::mt19937 m_random;
};

/// Reads where the children of a root are, and writes them again as they stand there.
class TagCopier final : public ISAXPersistHelper {
 public:
  bool HandleTag(std::string const&, MSAXReader& reader) override {
    m_tags.push_back(MDocumentTag::FromReader(reader));
    return false;
  }
  bool Write(MSAXWriter& writer) const override {
    return std::all_of(m_tags.begin(), m_tags.end(), [&](MDocumentTag const& tag) { return tag.WriteTo(writer); });
  }

 private:
  std::vector<MDocumentTag> m_tags;
};

std::string Reference(std::string const& bytes, std::uint64_t offset = 0) {
  std::array<char, MDocumentText::kMaxReferenceText> text;
  return std::string(
      MDocumentText::ToText({offset, bytes.size(), libdeflate_crc32(0, bytes.data(), bytes.size())}, text));
}

class Document : public testing::Test {
 protected:
  ~Document() override { std::filesystem::remove(m_path); }

  Node Read(std::string const& path) const {
    Node root;
    NodeElement element(&root);
    ReadReport report;
    EXPECT_TRUE(ReadFile(path, element, &report)) << report.error;
    EXPECT_THAT(report.warnings, IsEmpty());
    return root;
  }
  /// Reads what must not be read, and gives the error.
  std::string ReadError(std::vector<DocumentPart> const& parts) const {
    WriteParts(m_path, "Test", parts);
    Node root;
    NodeElement element(&root);
    ReadReport report;
    EXPECT_FALSE(ReadFile(m_path, element, &report)) << parts.front().tree.substr(0, 200);
    EXPECT_THAT(report.error, HasSubstr("; "));
    EXPECT_EQ(report.error.find(m_path), 0u);
    return report.error;
  }

  /// The bytes of a document and of a copy of it that is made child by child.
  std::pair<std::string, std::string> GetBytesAndThoseOfCopy() const {
    std::string const copy = m_directory.GetPath() + "/copy.document";
    TagCopier tags;
    EXPECT_TRUE(ReadFile(m_path, tags));
    WriteFile(copy, tags);
    std::pair<std::string, std::string> bytes(ReadBytes(m_path), ReadBytes(copy));
    std::filesystem::remove(copy);
    return bytes;
  }

  testing_support::EmptyDirectory const m_directory;
  std::string const m_path = m_directory.GetPath() + "/test.document";
};

TEST_F(Document, KeepsNamesTextsAttributesValuesAndOrder) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    RandomTree random(seed);
    Node root;
    for (int i = 0; i < 30; ++i) root.children.push_back(random.Make(4));
    WriteFile(m_path, NodeElement(&root));
    ASSERT_TRUE(Read(m_path) == root);
    auto const [bytes, copied] = GetBytesAndThoseOfCopy();
    ASSERT_TRUE(bytes == copied);
  }
}

TEST_F(Document, ACopyIsNoOlderThanWhatItHolds) {
  std::string const tag = "<V _bytes=\"" + Reference("1234") + "\" new=\"1\"/>";
  WriteParts(m_path, "Test", {{"<Document><A>" + tag + "</A></Document>", "1234", ""}}, "1.9");
  auto const [bytes, copied] = GetBytesAndThoseOfCopy();
  std::string const copy = m_directory.GetPath() + "/copy.document";
  WriteBytes(copy, copied);
  auto const document = std::make_shared<MDocument>(copy);
  EXPECT_EQ(document->GetMinorVersion(), 9u);
  EXPECT_EQ(document->ReadTree(0), MDocument(m_path).ReadTree(0));

  std::filesystem::resize_file(copy, 10);
  EXPECT_THROW(document->ReadTree(0), std::system_error) << "nothing is known of its bytes";
  EXPECT_FALSE(ReadFile(copy + "x", *std::make_unique<TagCopier>()));
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  rlimit const none{0, files.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  EXPECT_THROW(ReadFile(m_path, *std::make_unique<TagCopier>()), std::system_error);
  setrlimit(RLIMIT_NOFILE, &files);
  std::filesystem::remove(copy);
}

TEST_F(Document, KeepsEveryShortName) {
  // All that may be taken for an escape, or become one with what follows.
  std::string const bytes = "_xA0 \x01";
  Node root;
  for (std::size_t number = 0; number < 6 * 6 * 6 * 6 * 6; ++number) {
    std::string name;
    for (std::size_t rest = number; rest != 0; rest /= 6) name += bytes[rest % 6];
    root.children.push_back({"x" + name, "", {{name, name}}, {}, {}});
  }
  WriteFile(m_path, NodeElement(&root));
  EXPECT_TRUE(Read(m_path) == root);
}

/// Reads the first number of a value, and no more.
class FirstNumber final : public ISAXPersistHelper {
 public:
  bool HandleTag(std::string const& tag, MSAXReader& reader) override {
    BinaryInHolder* holder = nullptr;
    if (tag != "Values" || !reader.GetBinaryStream(holder)) return tag == "Last";
    holder->GetStream() >> serInt32_t(&m_number);
    return true;
  }
  std::int32_t m_number = 0;
};

TEST_F(Document, AValueBeforeTheEndOfAPartMayBeReadInPart) {
  Node root;
  root.children.push_back({"Values", "", {}, std::vector<std::int32_t>(17 << 20, 5), {}});
  root.children.push_back({"Last", "", {}, {}, {}});
  WriteFile(m_path, NodeElement(&root));
  ASSERT_EQ(MDocument(m_path).GetNumParts(), 2u);
  FirstNumber element;
  ReadReport report;
  EXPECT_TRUE(ReadFile(m_path, element, &report)) << report.error;
  EXPECT_EQ(element.m_number, 5);
  EXPECT_THAT(report.warnings, ElementsAre("the tag 'Values' was read only in part"));
}

TEST_F(Document, GoesOnFromPartToPartAtAnyDepth) {
  // Several MiB of tags and of values, so that parts end inside deep and shallow tags, refused ones among them.
  RandomTree random(7);
  Node root;
  for (int i = 0; i < 3; ++i) {
    Node& child = root.children.emplace_back(Node{"Child", "", {}, {}, {}});
    for (int j = 0; j < 70000; ++j) {
      Node& deep = child.children.emplace_back(Node{"Deep", "", {{"number", std::to_string(j)}}, {}, {}});
      for (std::size_t count = random.Pick(4); count != 0; --count)
        deep.children.push_back({"Leaf", "text", {}, {}, {}});
      if (j % 7000 == 0) deep.children.push_back({"Values", "", {}, std::vector<std::int32_t>(1000000, j), {}});
    }
  }
  WriteFile(m_path, NodeElement(&root));
  auto const document = std::make_shared<MDocument>(m_path);
  EXPECT_GE(document->GetNumParts(), 3u);
  EXPECT_TRUE(Read(m_path) == root);
  auto const [bytes, copied] = GetBytesAndThoseOfCopy();
  EXPECT_TRUE(bytes == copied);

  // Each child by itself, in any order.
  std::vector<MDocument::Child> children;
  document->VisitChildren([&](MDocument::Child const& child) { children.push_back(child); });
  ASSERT_EQ(children.size(), 3u);
  MDocumentReader reader(document);
  for (std::size_t const i : {2, 0, 1}) {
    Node node;
    NodeElement element(&node);
    reader.ReadChild(children[i].part, children[i].ordinal, element);
    EXPECT_TRUE(node.children == root.children[i].children) << i;
  }
}

/// Notes what it is asked; refuses tags that begin with an R.
class Logger final : public ISAXPersistHelper {
 public:
  Logger(std::string name, std::vector<std::string>* log) : m_name(std::move(name)), m_log(log) {}
  ~Logger() override { m_log->push_back("~" + m_name); }

  void SetDefaults() override { m_log->push_back(m_name + " defaults"); }
  bool HandleTag(std::string const& tag, MSAXReader& reader) override {
    m_log->push_back(m_name + " " + reader.GetEnclosingTag(1) + "/" + tag);
    if (tag[0] == 'O') reader.ReadOwnedSubObject(new Logger(tag, m_log));
    return tag[0] != 'R';
  }
  void HandleEndTag(std::string const& tag) override { m_log->push_back(m_name + " end " + tag); }
  void ResolveReferences(MSAXReader&) override { m_log->push_back(m_name + " resolve"); }
  void InitAfterLoading() override { m_log->push_back(m_name + " init"); }

 private:
  std::string m_name;
  std::vector<std::string>* m_log;
};

TEST_F(Document, AsksElementsInTheirOrderAlsoAcrossParts) {
  WriteParts(
      m_path, "Test",
      {{"<Document><O1><Leaf/><R><Leaf/></R></O1><W><Inner/></W></Document>", "", ""},
       {"<Document><W _continued=\"1\"><R><X/></R></W></Document>", "", ""},
       {"<Document><W _continued=\"1\"><R _continued=\"1\"><X _continued=\"1\"/></R><Leaf/></W></Document>", "", ""}});
  std::vector<std::string> log;
  ReadReport report;
  report.expected_refusals = {"W/R"};
  {
    Logger root("root", &log);
    EXPECT_TRUE(ReadFile(m_path, root, &report)) << report.error;
  }
  EXPECT_THAT(
      log, ElementsAre("root defaults", "root Document/O1", "O1 defaults", "O1 O1/Leaf", "O1 end Leaf", "O1 O1/R",
                       "O1 init", "root end O1", "~O1", "root Document/W", "root W/Inner", "root end Inner", "root W/R",
                       "root W/Leaf", "root end Leaf", "root end W", "root init", "root resolve", "~root"));
  EXPECT_THAT(report.warnings, ElementsAre("the tag 'O1/R' was not understood and left out"));
}

TEST_F(Document, ContentsTellWhereChildrenBeginAndTheirFirstLeaves) {
  MDocumentWriter writer(m_path, "K");
  writer.WriteLateTag("Late");
  writer.StartTag("Slice");
  writer.WriteTextTag("Height", "5");
  {
    MSAXTagWriter const area(writer, "Area");
    writer.WriteTextTag("Z", "6");
    writer.WriteTextTag("Height", "7");
  }
  writer.WriteTextTag("Third", "8");
  writer.EndTag("Slice");
  writer.SetLateNumber(123);
  writer.Finish();

  MDocument const document(m_path);
  EXPECT_EQ(document.GetKind(), "K");
  std::string const tree = document.ReadTree(0);
  std::vector<std::string> told;
  document.VisitChildren([&](MDocument::Child const& child) {
    std::string text = tree.substr(child.offset, child.tag.size() + 1);
    for (auto const& [name, value] : child.leaves) text += " " + name + "=" + value;
    told.push_back(text);
  });
  EXPECT_THAT(told, ElementsAre("<Late Late=123", "<Slice Height=5 Z=6"));
  EXPECT_THAT(tree, HasSubstr("<Late>123</Late>"));
}

TEST_F(Document, WriterRefusesTagsThatDoNotFitTogether) {
  auto const finish = [&](auto const& write) {
    MDocumentWriter writer(m_path, "");
    write(writer);
    writer.Finish();
  };
  EXPECT_THROW(finish([](auto& w) { w.StartTag("A"); }), std::logic_error);
  EXPECT_THROW(finish([](auto& w) { w.EndTag("A"); }), std::logic_error);
  EXPECT_THROW(finish([](auto& w) {
                 w.StartTag("A");
                 w.EndTag("B");
                 w.EndTag("A");
               }),
               std::logic_error);
  EXPECT_THROW(finish([](auto& w) { w.CreateBinaryStream(); }), std::logic_error);
  EXPECT_THROW(finish([](auto& w) { w.WriteTextValue("in the root"); }), std::logic_error);
  EXPECT_THROW(finish([](auto& w) { w.WriteLateTag("A"); }), std::logic_error);
  for (std::string const text : {"short", "\x01"}) {
    EXPECT_THROW(finish([&](auto& w) {
                   w.StartTag("A");
                   w.WriteTextValue(text);
                   w.WriteTextValue("b");
                   w.EndTag("A");
                 }),
                 std::logic_error);
    EXPECT_THROW(finish([&](auto& w) {
                   w.StartTag("A");
                   w.WriteTextValue(text);
                   w.StartTag("B");
                   w.EndTag("B");
                 }),
                 std::logic_error);
  }
  finish([](auto& w) {
    for (int i = 0; i < 5000; ++i) w.WriteTextTag(("Name" + std::to_string(i)).c_str(), "text");
  });
  EXPECT_EQ(Read(m_path).children.size(), 5000u);
  std::filesystem::remove(m_path);
  EXPECT_THROW(finish([](auto& w) {
                 w.CreateBinaryStream();
                 w.CreateBinaryStream();
               }),
               std::logic_error);
  EXPECT_THROW(finish([](auto& w) {
                 for (int i = 0; i < 300; ++i) w.StartTag("A");
               }),
               std::logic_error);
  EXPECT_FALSE(std::filesystem::exists(m_path));
}

TEST_F(Document, AFileThatTakesMuchMemoryIsNotSmall) {
  std::string tree = "<Document>";
  for (int i = 0; i < 500000; ++i) tree += "<a/>";
  WriteParts(m_path, "Test", {{tree + "</Document>", "", ""}});
  EXPECT_GT(std::filesystem::file_size(m_path), tree.size());
  EXPECT_EQ(Read(m_path).children.size(), 500000u);

  // What packs well, but is much in memory.
  Node root;
  Node& list = root.children.emplace_back(Node{"List", "", {}, {}, {}});
  list.children.assign(100000, {"a", "", {}, {}, {}});
  std::mt19937 random(1);
  for (int i = 0; i < 20000; ++i) list.children.front().text += static_cast<char>('a' + random() % 26);
  WriteFile(m_path, NodeElement(&root));
  EXPECT_TRUE(Read(m_path) == root);
  EXPECT_THAT(ReadError({{MDocument(m_path).ReadTree(0), "", ""}}), HasSubstr("one too many"));
}

TEST_F(Document, HostilePartsAreErrors) {
  std::string const bytes(64, 'b');
  auto const value = [&](std::string const& reference) {
    return std::vector<DocumentPart>{{"<Document><V _bytes=\"" + reference + "\"/></Document>", bytes, ""}};
  };
  WriteParts(m_path, "Test", value(Reference(bytes)));
  EXPECT_EQ(Read(m_path).children.front().values.size(), 16u);

  for (char const* const reference :
       {"", "0 64", "0 64 1", "64 4 00000000", "60 8 00000000", "18446744073709551612 8 00000000",
        "0 18446744073709551615 00000000", "-4 8 00000000", "0 64 zzzzzzzz", "0 64 00000000"}) {
    ReadError(value(reference));
  }
  ReadError({{"<Document><V _bytes=\"" + Reference(bytes) + "\"/></Document>", "", ""}});
  std::string const twice = "<V _bytes=\"" + Reference(bytes) + "\"/>";
  EXPECT_THAT(ReadError({{"<Document>" + twice + twice + "</Document>", bytes, ""}}), HasSubstr("one place"));

  std::string deep;
  for (int i = 0; i < 100000; ++i) deep += "<a>";
  EXPECT_THAT(ReadError({{"<Document>" + deep + "</Document>", "", ""}}), HasSubstr("not well-formed"));
  std::string ends;
  for (int i = 0; i < 100000; ++i) ends += "</a>";
  EXPECT_THAT(ReadError({{"<Document>" + deep + ends + "</Document>", "", ""}}), HasSubstr("inside each other"));

  for (char const* const tree :
       {"", "x", "<Document>", "<Document></Documen>", "<Other/>", "<Document/><Document/>",
        "<Document><A></Document></A>", "<!DOCTYPE d [<!ENTITY a \"aaaa\">]><Document>&a;</Document>",
        "<Document><A _continued=\"1\"/></Document>", "<Document><A/><B _continued=\"1\"/></Document>"}) {
    ReadError({{tree, "", ""}});
  }
  ReadError({{"<Document><A/></Document>", "", ""}, {"<Document><B _continued=\"1\"/></Document>", "", ""}});
  ReadError({{"<Document>" + std::string(9 << 20, ' ') + "</Document>", "", ""}});
  ReadError({{"<Document><A>" + std::string(70000, 'a') + "</A></Document>", "", ""}});
  ReadError({{"<Document><" + std::string(6000, 'a') + "/></Document>", "", ""}});
  ReadError({{"<Document><A b=\"" + std::string(400000, 'a') + "\"/></Document>", "", ""}});

  WriteParts(m_path, "Test", {{"<Document/>", "", ""}}, "2.0");
  EXPECT_THROW(MDocument{m_path}, MDocumentError);
  WriteParts(m_path, "Test", {{"<Document/>", "", ""}}, "1.9");
  EXPECT_TRUE(MDocument(m_path).IsNewer());
}

TEST_F(Document, ContentsMustFitTheEntries) {
  auto const write = [&](std::string const& contents, std::vector<std::string> const& entries) {
    MPendingFile file(m_path);
    MZipWriter zip(file);
    for (std::string const& name : entries) zip.Add(name, "<Document/>");
    if (!contents.empty()) zip.Add("contents.xml", contents);
    zip.Finish();
    file.Commit();
  };
  std::string const head = "<Contents format=\"1.0\" kind=\"\">";
  std::string const part = "<Part tree=\"tree/000001.xml\"></Part>";
  write(head + part + "</Contents>", {"tree/000001.xml"});
  EXPECT_NO_THROW(MDocument{m_path});

  struct Case {
    std::string contents;
    std::vector<std::string> entries;
  };
  for (Case const& wrong :
       {Case{"", {"tree/000001.xml"}}, Case{head + "</Contents>", {}}, Case{head + part + "</Contents>", {}},
        Case{head + part + "</Contents>", {"tree/000002.xml"}},
        Case{head + part + "</Contents>", {"tree/000001.xml", "tree/000002.xml"}},
        Case{head + part + "</Contents>", {"tree/000001.xml", "virus.exe"}},
        Case{head + part + part + "</Contents>", {"tree/000001.xml"}}, Case{head + part, {"tree/000001.xml"}},
        Case{"x", {"tree/000001.xml"}},
        Case{head + "<Part tree=\"tree/000001.xml\" stream=\"streams/000001.bin\"></Part></Contents>",
             {"tree/000001.xml"}}}) {
    write(wrong.contents, wrong.entries);
    EXPECT_THROW(MDocument{m_path}, MDocumentError) << wrong.contents;
  }
}

}  // namespace
