#include "SERVICES/Library/LIBMessageIndex/IndexStylesheets.h"

namespace corvane {
namespace {

constexpr std::string_view kBegin =
    "<?xml version='1.0'?>\r\n"
    "<xsl:stylesheet version=\"1.0\" xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\">\r\n"
    "<xsl:template match=\"/\">\r\n"
    "<BASEELEMENT>\r\n"
    "<xsl:for-each select=\"BASEELEMENT/ELEMENT\">\r\n";
constexpr std::string_view kEnd =
    "</xsl:for-each>\r\n"
    "</BASEELEMENT>\r\n"
    "</xsl:template>\r\n"
    "</xsl:stylesheet>\r\n";

constexpr std::string_view kProperties[] = {"IMPORTANCE",  "FLAGSTATUS", "ATTACHMENTS", "FROM",
                                            "TO",          "SUBJECT",    "RECEIVED",    "READ",
                                            "MESSAGEDATE", "SIZE",       "MODIFIEDDATE"};

std::string Attribute(std::string_view name, std::string_view value) {
  return std::string("<xsl:attribute name=\"")
      .append(name)
      .append("\"><xsl:value-of select=\"")
      .append(value)
      .append("\"/></xsl:attribute>\r\n");
}

std::string Element(std::string_view name) {
  return std::string("<")
      .append(name)
      .append("><xsl:value-of select=\"")
      .append(name)
      .append("\"/></")
      .append(name)
      .append(">\r\n");
}

// A text inside the double quotes of an attribute.
std::string Quoted(std::string_view text) {
  std::string result;
  for (char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

}  // namespace

std::string PropertyStylesheet() {
  std::string text(kBegin);
  text += "<ELEMENT>\r\n";
  text += Attribute("ID", "@ID") + Attribute("UID", "@UID") + Attribute("IDX", "position()");
  for (std::string_view property : kProperties) text += Element(property);
  text += "</ELEMENT>\r\n";
  return text.append(kEnd);
}

std::string SortStylesheet(std::string_view key, std::string_view type, std::string_view order) {
  std::string text(kBegin);
  text += "<xsl:sort select=\"" + Quoted(key) + "\" data-type=\"" + Quoted(type) + "\" order=\"" +
          Quoted(order) + "\"/>\r\n";
  text += "<ELEMENT>\r\n<xsl:copy-of select=\"@*\"/>\r\n" + Attribute("SEQ", "position()");
  text += "<xsl:copy-of select=\"*\"/>\r\n</ELEMENT>\r\n";
  return text.append(kEnd);
}

}  // namespace corvane
