// IndexStylesheets.h -- texts of the XSL stylesheets that programs may run over an index read as a
// document. The connector doesn't use them.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// Copies the items of an index with ID, UID, their position as IDX and the properties that a list
// of messages shows.
[[nodiscard]] std::string PropertyStylesheet();

// Copies the items in the order of `key`, an XPath of the item such as "SUBJECT", with their
// position in it as SEQ.
//
//   type   "number" or "text"
//   order  "ascending" or "descending"
[[nodiscard]] std::string SortStylesheet(std::string_view key = "@UID",
                                         std::string_view type = "number",
                                         std::string_view order = "ascending");

}  // namespace corvane
