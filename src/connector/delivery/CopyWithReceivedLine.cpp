#include "connector/delivery/CopyWithReceivedLine.h"

#include <string>

#include "connector/delivery/TextCopy.h"
#include "connector/queue/Durability.h"
#include "connector/queue/QueuePaths.h"
#include "message/MessageDate.h"
#include "platform/TextFile.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::size_t kPieceBytes = 4096;

}  // namespace

std::int32_t CopyWithReceivedLine(const ConnectorMessage& message,
                                  const ConnectorMessage& newMessage) {
  auto source = platform::TextFile::Open(OutgoingMessagePath(message.Connector, message.MessageID),
                                         platform::TextMode::kRead);
  if (!source) return 0;
  auto target =
      platform::WholeFile::Create(InboundMessagePath(newMessage.Connector, newMessage.MessageID));
  if (!target) return 0;
  const std::string received =
      "Received: with Corvane Postoffice Connector; " + FormatMessageDate() + "\n";
  if (!WriteAsText(target, received) || !CopyAsText(source, target, kPieceBytes)) return 0;
  return target.Commit(true, DeliveryDurability(platform::Durability::kDataAndName)) ? 1 : 0;
}

}  // namespace corvane
