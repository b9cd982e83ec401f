#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexDocument.h"

#include <algorithm>
#include <string_view>

#include "SERVICES/Library/LIBStoreIndexSerialisation/RewriteDurability.h"
#include "platform/Error.h"
#include "platform/Reports.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr unsigned kParseOptions =
    pugi::parse_cdata | pugi::parse_escapes | pugi::parse_ws_pcdata_single;

void PrintFailure(std::uint32_t code, std::string_view read, const char* description) {
  const auto line = 1 + std::count(read.begin(), read.end(), '\n');
  const std::size_t lineStart = read.rfind('\n') + 1;  // npos + 1 is 0
  platform::PrintConsole("Error:\n");
  platform::PrintConsoleF("Code = 0x%x\n", code);
  platform::PrintConsoleF("Source = Line : %ld; Char : %ld\n", static_cast<long>(line),
                          static_cast<long>(read.size() - lineStart + 1));
  platform::PrintConsoleF("Error Description = %s\n", description);
}

class FileWriter : public pugi::xml_writer {
 public:
  explicit FileWriter(platform::WholeFile* file) : file_(file) {}
  void write(const void* data, std::size_t size) override {
    worked_ = worked_ && file_->Write({static_cast<const char*>(data), size});
  }
  [[nodiscard]] bool Worked() const { return worked_; }

 private:
  platform::WholeFile* file_;
  bool worked_ = true;
};

}  // namespace

DocumentResult LoadDocument(const std::string& path, pugi::xml_document* document) {
  const auto text = platform::ReadWholeFile(path);
  if (!text) {
    const std::int32_t error = platform::LastError();
    PrintFailure(static_cast<std::uint32_t>(error), {}, platform::ErrorText(error).c_str());
    return DocumentResult::kUnreadable;
  }
  const pugi::xml_parse_result result =
      document->load_buffer(text->data(), text->size(), kParseOptions, pugi::encoding_utf8);
  if (!result) {
    const auto at = std::min<std::size_t>(static_cast<std::size_t>(result.offset), text->size());
    PrintFailure(static_cast<std::uint32_t>(result.status), std::string_view(*text).substr(0, at),
                 result.description());
    const bool ours =
        result.status == pugi::status_out_of_memory || result.status == pugi::status_internal_error;
    return ours ? DocumentResult::kUnreadable : DocumentResult::kMalformed;
  }
  if (!document->document_element()) {
    platform::PrintConsoleF(
        "Error: The document \"%s\" was loaded, but the documentElement could not be accessed. "
        "There may be invalid permissions set on this object.\n",
        path.c_str());
    return DocumentResult::kMalformed;
  }
  return DocumentResult::kRead;
}

bool SaveDocument(const std::string& path, const pugi::xml_document& document) {
  platform::WholeFile file = platform::WholeFile::Create(path);
  if (!file) return false;
  FileWriter writer(&file);
  document.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  return writer.Worked() && file.Write("\r\n") && file.Commit(true, RewriteDurability());
}

}  // namespace corvane
