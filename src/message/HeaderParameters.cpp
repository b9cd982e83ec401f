// HeaderParameters.cpp -- the parameters of a parsed header.
#include <algorithm>
#include <vector>

#include "message/Ascii.h"
#include "message/HeaderList.h"
#include "message/Parameters.h"
#include "message/PercentDecode.h"
#include "message/Recode.h"
#include "message/Unicode.h"

namespace corvane {
namespace {

// One piece between two semicolons.
struct Field {
  std::string name;  // lower case, without "*" and "*N"
  bool extended = false;
  int number = -1;
  std::string_view text;
};

std::string_view TrimWhiteSpace(std::string_view text) {
  while (!text.empty() && IsWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

// Takes a number behind the last '*' off the name.
void SplitNumber(Field& field) {
  std::size_t star = field.name.rfind('*');
  std::size_t digits = star == std::string::npos ? 0 : field.name.size() - star - 1;
  if (digits == 0 || digits > 6) return;
  if (!std::all_of(field.name.end() - static_cast<std::ptrdiff_t>(digits), field.name.end(),
                   IsDigit)) {
    return;
  }
  field.number = std::stoi(field.name.substr(star + 1));
  field.name.resize(star);
}

bool ReadField(std::string_view piece, Field& field) {
  std::size_t assign = FindByte(piece, '=');
  if (assign == piece.npos) return false;
  std::string_view name = TrimWhiteSpace(piece.substr(0, assign));
  field.text = TrimWhiteSpace(piece.substr(assign + 1));
  if (name.empty() || field.text.empty()) return false;
  field.name.assign(name);
  std::transform(field.name.begin(), field.name.end(), field.name.begin(), LowerCase);
  field.extended = field.name.ends_with('*');
  if (field.extended) field.name.pop_back();
  SplitNumber(field);
  bool quoted = field.text.size() >= 2 && field.text.front() == '"' && field.text.back() == '"';
  if (quoted) field.text = field.text.substr(1, field.text.size() - 2);
  return !field.name.empty();
}

std::u16string Widen(std::string_view text, bool utf8) {
  if (utf8) return ToWide(text);
  std::u16string wide;
  for (char c : text) wide.push_back(static_cast<unsigned char>(c));
  return wide;
}

// The percent-decoded text as wide text: by its charset, else as UTF-8.
std::u16string WidenExtended(const std::string& charset, const std::string& bytes) {
  std::string utf8;
  RecodeText(charset, bytes, utf8);
  return ToWide(utf8);
}

// Makes one parameter of fields that are in order, the first of which says in what charset.
HeaderParameter Join(const std::vector<Field>& fields, bool utf8) {
  HeaderParameter parameter;
  parameter.Name = fields.front().name;
  std::string bytes;
  bool anyExtended = false;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    std::string_view text = fields[i].text;
    anyExtended = anyExtended || fields[i].extended;
    if (i == 0 && fields[i].extended) {
      ExtendedValue value = SplitExtended(text);
      parameter.Charset = value.charset;
      parameter.Language = value.language;
      text = value.text;
    }
    bytes += fields[i].extended ? PercentDecode(text) : std::string(text);
  }
  parameter.Value = anyExtended ? WidenExtended(parameter.Charset, bytes) : Widen(bytes, utf8);
  return parameter;
}

}  // namespace

HeaderParameters ParseHeaderParameters(std::string_view value, bool utf8) {
  HeaderParameters parameters;
  std::map<std::string, std::vector<Field>> collected;
  std::size_t at = FindByte(value, ';');
  for (std::size_t count = 0; at != value.npos && count < kMaximumPieces; ++count) {
    std::size_t end = FindByte(value, ';', at + 1);
    std::string_view piece = value.substr(at + 1, end == value.npos ? end : end - at - 1);
    at = end;
    Field field;
    if (!ReadField(piece, field)) continue;
    if (field.number >= 0) {
      collected[field.name].push_back(field);
    } else {
      parameters.try_emplace(field.name, Join({field}, utf8));
    }
  }
  for (auto& [name, fields] : collected) {
    std::stable_sort(fields.begin(), fields.end(),
                     [](const Field& a, const Field& b) { return a.number < b.number; });
    parameters.insert_or_assign(name, Join(fields, utf8));
  }
  return parameters;
}

}  // namespace corvane
