#include "SERVICES/Library/LIBBadMail/SetMessageFileHeader.h"

#include <string>
#include <utility>
#include <vector>

#include "connector/queue/Durability.h"
#include "connector/queue/HeaderEdit.h"
#include "platform/Error.h"
#include "platform/File.h"
#include "platform/Reports.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

bool IsMissing(std::int32_t error) {
  return error == platform::kErrorFileNotFound || error == platform::kErrorPathNotFound;
}

bool TellUnwritable() {
  platform::PrintConsoleF("Error: Could not open message file for writing. Error Code: %ld\r\n",
                          static_cast<long>(platform::LastError()));
  return false;
}

bool MakeFile(const std::string& path, const std::string& line) {
  return platform::WriteWholeFile(path, line, false,
                                  DeliveryDurability(platform::Durability::kDataAndName)) ||
         TellUnwritable();
}

bool Rewrite(const platform::File& source, const std::string& path,
             const std::vector<HeaderEdit>& edits) {
  auto target = platform::WholeFile::Create(path);
  if (!target) return TellUnwritable();
  if (PutEdited(source, std::move(target), edits)) return true;
  const std::int32_t error = platform::LastError();
  if (error != platform::kErrorSharingViolation && error != platform::kErrorAccessDenied) {
    return TellUnwritable();
  }
  platform::PrintConsole(
      "Could not remove original copy of message file. Check if file has readonly set or if "
      "there are permissions issues\r\n");
  return false;
}

}  // namespace

bool SetMessageFileHeader(std::string_view path, std::string_view name, std::string_view value,
                          bool create) {
  const std::string file(path);
  auto source = platform::File::Open(path, platform::Access::kRead, platform::kShareAll,
                                     platform::Disposition::kOpenExisting);
  if (!source && create && IsMissing(platform::LastError())) {
    return MakeFile(file, std::string(name).append(": ").append(value).append("\r\n"));
  }
  const auto edits = source ? ReplaceHeader(source, {name, value, ":"}) : std::nullopt;
  if (!edits) {
    platform::PrintConsoleF("Error: Could not open message file for input. Error Code: %ld\r\n",
                            static_cast<long>(platform::LastError()));
    return false;
  }
  return edits->empty() || Rewrite(source, file, *edits);
}

}  // namespace corvane
