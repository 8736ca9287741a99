#pragma once

#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceData/platform/sax/BinaryInHolder.h>
#include <SliceData/platform/sax/BinaryOutHolder.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/platform/sax/MSAXWriter.h>

#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <string>
#include <unistd.h>

/// Real documents as text: "<Dim>2</Dim><Data>1 2 3 4</Data>". What a tag "Data" holds are the integers of a binary
/// value.
namespace testing_support {

/// A document on disk, removed at the end.
class DocumentFile {
 public:
  DocumentFile() : m_path(GetDirectory() + "slicedata-" + std::to_string(::getpid()) + "-" + MakeNumber()) {}
  ~DocumentFile() { ::unlink(m_path.c_str()); }
  DocumentFile(DocumentFile const&) = delete;
  DocumentFile& operator=(DocumentFile const&) = delete;

  void Write(ISAXPersistBase const& root) const { VelAM::SaxUtilities::WriteFile(m_path, root); }

  /// What is wrong with the document; and what was left out of it, once a kind, if nothing is.
  std::string Read(ISAXPersist& root) const {
    VelAM::SaxUtilities::ReadReport report;
    report.expected_refusals = {"VectorTypeInfo/VectorType"};
    bool const is_right = VelAM::SaxUtilities::ReadFile(m_path, root, &report);
    EXPECT_EQ(is_right, report.error.empty());
    std::string told = report.error;
    for (std::string const& warning : report.warnings) told += is_right ? warning + "\n" : "";
    return told;
  }

  std::string GetBytes() const {
    std::ifstream file(m_path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string GetText() const {
    class : public ISAXPersistHelper {
     public:
      bool HandleTag(std::string const& tag, MSAXReader& reader) override {
        text += "<" + tag;
        for (auto const& [name, value] : reader.GetAttributes()) text += " " + name + "=\"" + value + "\"";
        text += ">";
        BinaryInHolder* holder = nullptr;
        if (!reader.GetBinaryStream(holder)) {
          text += reader.GetTagText();
          return true;
        }
        for (char const* gap = ""; holder->GetStream().GetRemaining() != 0; gap = " ") {
          std::int32_t value = 0;
          holder->GetStream() >> serInt32_t(&value);
          text += gap + std::to_string(value);
        }
        return true;
      }
      void HandleEndTag(std::string const& tag) override { text += "</" + tag + ">"; }

      std::string text;
    } dump;
    EXPECT_EQ(Read(dump), "");
    return dump.text;
  }

  /// Attributes are not understood here.
  void SetText(std::string const& text) const {
    class : public ISAXPersistHelper {
     public:
      bool Write(MSAXWriter& writer) const override {
        for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at)) {
          std::size_t const end = text.find('>', at);
          std::string const tag = text.substr(at + 1, end - at - 1);
          at = std::min(text.find('<', end), text.size());
          std::string const value = text.substr(end + 1, at - end - 1);
          if (tag[0] == '/') {
            writer.EndTag(tag.c_str() + 1);
          } else if (tag != "Data" || text.compare(at, 7, "</Data>") != 0) {
            writer.StartTag(tag.c_str());
            writer.WriteTextValue(value);
          } else {
            BinaryOutHolder* holder = writer.CreateBinaryStream();
            std::istringstream numbers(value);
            for (std::int32_t number = 0; numbers >> number;) holder->GetStream() << serInt32_t(number);
            writer.WriteBinaryStream("Data", &holder);
            at = text.find('>', at);
          }
        }
        return true;
      }

      std::string text;
    } source;
    source.text = text;
    Write(source);
  }

 private:
  /// Documents are brought to the disk when they are saved, which would take most of the time of a test.
  static std::string GetDirectory() { return ::access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : ::testing::TempDir(); }
  static std::string MakeNumber() {
    static int number = 0;
    return std::to_string(++number);
  }

  std::string m_path;
};

}  // namespace testing_support
