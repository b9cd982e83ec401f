// IndexDocument.h -- an XML document as a file: read and written with the texts that tell of
// failures.
#pragma once

#include <cstdint>
#include <pugixml.hpp>
#include <string>

namespace corvane {

enum class DocumentResult : std::int32_t {
  kRead,
  kUnreadable,  // the file couldn't be read, or memory ran out: it may be good
  kMalformed,
};

// Reads the file; every byte of a text counts, blanks and line ends too. Failures are told by lines
// on the console that say why.
[[nodiscard]] DocumentResult LoadDocument(const std::string& path, pugi::xml_document* document);
// Writes the document without indentation, CR LF at its end. The file appears at once or not at
// all; false leaves the old one.
[[nodiscard]] bool SaveDocument(const std::string& path, const pugi::xml_document& document);

}  // namespace corvane
