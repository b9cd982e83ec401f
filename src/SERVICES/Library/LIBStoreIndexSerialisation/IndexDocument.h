// IndexDocument.h -- an XML document as a file: read and written with the texts that tell of
// failures.
#pragma once

#include <pugixml.hpp>
#include <string>

namespace corvane {

// Reads the file; every byte of a text counts, blanks and line ends too. False after the lines on
// the console that say why.
[[nodiscard]] bool LoadDocument(const std::string& path, pugi::xml_document* document);
// Writes the document without indentation, CR LF at its end. The file appears at once or not at
// all; false leaves the old one.
[[nodiscard]] bool SaveDocument(const std::string& path, const pugi::xml_document& document);

}  // namespace corvane
