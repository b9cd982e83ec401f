#include "connector/delivery/CopyWithReceivedLine.h"

#include <string>

#include "connector/queue/Durability.h"
#include "connector/queue/QueuePaths.h"
#include "message/MessageDate.h"
#include "platform/TextFile.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::size_t kPieceBytes = 4096;

// A line of the source with the line end of text files on disk.
bool WriteTextLine(platform::WholeFile& target, std::string_view line) {
  if (!line.ends_with('\n')) return target.Write(line);
  line.remove_suffix(1);
  return target.Write(line) && target.Write("\r\n");
}

}  // namespace

std::int32_t CopyWithReceivedLine(const ConnectorMessage& message,
                                  const ConnectorMessage& newMessage) {
  auto source = platform::TextFile::Open(OutgoingMessagePath(message.Connector, message.MessageID),
                                         platform::TextMode::kRead);
  if (!source) return 0;
  auto target =
      platform::WholeFile::Create(InboundMessagePath(newMessage.Connector, newMessage.MessageID));
  if (!target) return 0;
  bool written =
      target.Write("Received: with Corvane Postoffice Connector; " + FormatMessageDate() + "\r\n");
  while (written) {
    const auto line = source.ReadLine(kPieceBytes);
    if (!line) break;
    written = WriteTextLine(target, *line);
  }
  if (!written || source.Failed()) return 0;
  return target.Commit(true, DeliveryDurability(platform::Durability::kDataAndName)) ? 1 : 0;
}

}  // namespace corvane
