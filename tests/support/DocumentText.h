#pragma once

#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceData/platform/sax/BinaryInHolder.h>
#include <SliceData/platform/sax/BinaryOutHolder.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/platform/sax/MSAXWriter.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

#include "support/Files.h"

/// Real documents as text: "<Dim>2</Dim><Data>1 2 3 4</Data>". What a tag "Data" holds are the integers of a binary
/// value.
namespace testing_support {

/// A document on disk, removed at the end.
class DocumentFile {
 public:
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

  std::string GetBytes() const { return ReadBytes(m_path); }

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

  /// Attributes have no blanks in them.
  void SetText(std::string const& text) const {
    class : public ISAXPersistHelper {
     public:
      bool Write(MSAXWriter& writer) const override {
        for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at)) {
          std::size_t const end = text.find('>', at);
          std::istringstream words(text.substr(at + 1, end - at - 1));
          std::string tag;
          words >> tag;
          at = std::min(text.find('<', end), text.size());
          std::string const value = text.substr(end + 1, at - end - 1);
          if (tag[0] == '/') {
            writer.EndTag(tag.c_str() + 1);
          } else if (tag != "Data" || text.compare(at, 7, "</Data>") != 0) {
            writer.StartTag(tag.c_str());
            for (std::string word; words >> word;) {
              std::size_t const equals = word.find('=');
              writer.WriteTextAttribute(word.substr(0, equals).c_str(),
                                        word.substr(equals + 2, word.size() - equals - 3));
            }
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
  ScratchDirectory m_directory;
  std::string const m_path = m_directory / "document";
};

}  // namespace testing_support
