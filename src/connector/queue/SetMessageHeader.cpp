#include "connector/queue/SetMessageHeader.h"

#include <optional>
#include <vector>

#include "connector/queue/Durability.h"
#include "connector/queue/HeaderEdit.h"
#include "connector/queue/QueuePaths.h"
#include "platform/File.h"

namespace corvane {
namespace {

// Deletion is shared, since a new file may take the name of the one that is being read.
platform::File OpenSource(const std::string& path) {
  return platform::File::Open(path, platform::Access::kRead, platform::kShareAll,
                              platform::Disposition::kOpenExisting);
}

}  // namespace

std::int32_t SetMessageHeader(ConnectorMessage& message, std::string_view name,
                              std::string_view value, bool inbound, bool replace) {
  const std::string path = inbound ? InboundMessagePath(message.Connector, message.MessageID)
                                   : OutgoingMessagePath(message.Connector, message.MessageID);
  auto source = OpenSource(path);
  if (!source) return 0;
  const auto edits = replace ? ReplaceHeader(source, {name, value, ": ", true})
                             : std::optional(PrependHeader(name, value));
  if (!edits) return 0;
  if (edits->empty()) return 1;
  if (!PutEdited(source, platform::WholeFile::Create(path), *edits)) return 0;
  if (!inbound) message.MessageFileFlushed = DurabilityOn();
  return 1;
}

std::int32_t CopyWithHeader(const std::string& source, const std::string& target,
                            std::string_view name, std::string_view value) {
  auto file = OpenSource(source);
  if (!file) return 0;
  const auto edits = ReplaceHeader(file, {name, value, ": ", true});
  return edits && !edits->empty() && PutEdited(file, platform::WholeFile::Create(target), *edits)
             ? 1
             : 0;
}

}  // namespace corvane
