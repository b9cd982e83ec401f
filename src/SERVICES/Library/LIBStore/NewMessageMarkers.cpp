#include "SERVICES/Library/LIBStore/NewMessageMarkers.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#include "SERVICES/Library/LIBStore/StorePaths.h"
#include "platform/DirectoryLock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::size_t kTextLimit = 2047;
// Where directories have no locks others can take a marker between our look and our step again and
// again; each time it's theirs.
constexpr int kAttempts = 1000;
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

struct Marker {
  std::string path;
  std::int32_t count = 0;
  bool empty = true;
};

std::string MailboxDirectory(const std::string& postoffice, const std::string& mailbox) {
  return GetPostofficeRoot(postoffice) + "\\MAILROOT\\" + mailbox;
}

// The number between the first byte and the first point; 0 when there is none.
std::int32_t CountInName(std::string_view name) {
  std::int64_t count = 0;
  for (std::size_t i = 1; i < name.size() && name[i] >= '0' && name[i] <= '9'; ++i) {
    count = std::min<std::int64_t>(count * 10 + (name[i] - '0'), kHighest);
  }
  return static_cast<std::int32_t>(count);
}

std::string MarkerPath(const std::string& directory, std::int32_t count) {
  return directory + "\\_" + std::to_string(count) + ".NEW";
}

// All markers of a mailbox, the highest last.
std::vector<Marker> Markers(const std::string& directory) {
  std::vector<Marker> markers;
  platform::FileFinder finder(directory + "\\_*.NEW");
  while (const auto found = finder.Next()) {
    if (found->info.directory) continue;
    markers.push_back(
        {directory + '\\' + found->name, CountInName(found->name), found->info.size == 0});
  }
  std::sort(markers.begin(), markers.end(),
            [](const Marker& a, const Marker& b) { return a.count < b.count; });
  return markers;
}

void DeleteAllButLast(const std::vector<Marker>& markers) {
  for (std::size_t i = 0; i + 1 < markers.size(); ++i) {
    static_cast<void>(platform::DeleteFile(markers[i].path));
  }
}

void AppendText(const std::string& path, char* out, std::size_t size) {
  const auto text = platform::ReadWholeFile(path);
  if (!text) return;
  const std::size_t used = std::strlen(out);
  if (used + 1 >= size) return;
  const std::size_t length = std::min({text->size(), kTextLimit, size - used - 1});
  std::memcpy(out + used, text->data(), length);
  out[used + length] = '\0';
}

// The kept marker, if it was ours to take: a writer may have renamed it since the look.
std::optional<std::int32_t> Take(const Marker& marker, char* textOut, std::size_t textSize) {
  const bool wanted = textOut != nullptr && textSize > 0 && textOut[0] != '\0';
  const std::size_t before = wanted ? std::strlen(textOut) : 0;
  if (wanted) AppendText(marker.path, textOut, textSize);
  if (platform::DeleteFile(marker.path)) return marker.count;
  if (platform::LastError() != platform::kErrorFileNotFound) return marker.count;
  if (wanted) textOut[before] = '\0';
  return std::nullopt;
}

// One step of a writer on what it saw; false when somebody was faster, and it has to look again.
bool CountOneMore(const std::string& directory, const std::vector<Marker>& markers,
                  std::string_view text) {
  const bool any = !markers.empty();
  const std::int32_t seen = any ? markers.back().count : 0;
  const std::string next = MarkerPath(directory, seen == kHighest ? seen : seen + 1);
  if (any && seen == kHighest) return true;
  // The usual case, a count without text, is one rename: whoever comes second finds nothing there.
  if (any && markers.back().empty && text.empty()) {
    if (platform::MoveFile(markers.back().path, next)) return true;
    if (platform::LastError() != platform::kErrorSharingViolation) {
      return platform::LastError() != platform::kErrorFileNotFound &&
             platform::LastError() != platform::kErrorAlreadyExists;
    }
  }
  if (!platform::WriteWholeFile(next, text, false, platform::Durability::kNone)) {
    return platform::LastError() != platform::kErrorFileExists;
  }
  if (any) static_cast<void>(platform::DeleteFile(markers.back().path));
  return true;
}

}  // namespace

std::int32_t GetNewMessageCount(const std::string& postoffice, const std::string& mailbox,
                                char* textOut, std::size_t textSize) {
  const std::string directory = MailboxDirectory(postoffice, mailbox);
  const platform::DirectoryLock turn(directory);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const std::vector<Marker> markers = Markers(directory);
    if (markers.empty()) return 0;
    DeleteAllButLast(markers);
    if (const auto count = Take(markers.back(), textOut, textSize)) return *count;
  }
  return 0;
}

void AddNewMessageMarker(const std::string& postoffice, const std::string& mailbox,
                         std::string_view text) {
  const std::string directory = MailboxDirectory(postoffice, mailbox);
  const platform::DirectoryLock turn(directory);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const std::vector<Marker> markers = Markers(directory);
    DeleteAllButLast(markers);
    if (CountOneMore(directory, markers, text)) return;
  }
}

}  // namespace corvane
