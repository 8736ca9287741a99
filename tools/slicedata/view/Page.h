#pragma once

#include <string_view>

namespace Tool::View {

/// The page that shows layers, put together from the files beside this one.
extern std::string_view const kPage;

// What in the page gives place to its settings, and to its document.
constexpr std::string_view kSettingsMark = "<!--settings-->\n";
constexpr std::string_view kDocumentMark = "<!--document-->\n";

}  // namespace Tool::View
