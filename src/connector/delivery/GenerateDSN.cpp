#include "connector/delivery/GenerateDSN.h"

#include <string>
#include <string_view>

#include "CLIENTS/CVMAPI/CVMSLIB/common/Identifiers.h"
#include "CLIENTS/CVMAPI/CVMSLIB/common/Text.h"
#include "connector/delivery/AddressHelpers.h"
#include "connector/delivery/ParsedAddress.h"
#include "connector/delivery/TextCopy.h"
#include "connector/queue/Durability.h"
#include "connector/queue/InboundCommandFile.h"
#include "connector/queue/QueuePaths.h"
#include "connector/queue/ReadHeaderValue.h"
#include "connector/settings/Settings.h"
#include "message/MessageDate.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::size_t kSubjectBytes = 2048;
constexpr std::int32_t kSubjectLines = 100;
constexpr std::string_view kBoundary = "----=_NextPart_000_0016_01CA741D.3C2790E0";
constexpr std::string_view kRule =
    "---------------------------------------------------------------------------------\n";

struct Notice {
  std::string kind;
  std::string to;
  std::string subject;
  std::string id;
  std::string body;
  std::string item;  // the recipient
};

std::string HeaderOf(const Notice& notice) {
  std::string from;
  GetPostmasterFor(notice.item, from);
  std::string text = "From: " + from + "\n";
  text += "To: <" + notice.to + ">\n";
  text += "Subject: Delivery " + notice.kind + ": " + notice.subject + "\n";
  text += "Date: " + FormatMessageDate() + "\n";
  text += "Message-ID: <" + notice.id + "@" + settings::Get(settings::kLocalDomainName) + ">\n";
  text += "Precedence: bulk\n";
  text += "Content-Type: multipart/report;\n\treport-type=delivery-status;\n";
  text.append("\tboundary=\"").append(kBoundary).append("\"\n\n");
  return text;
}

bool WriteDSNFile(const std::string& path, const Notice& notice) {
  std::string text = HeaderOf(notice);
  text.append("--").append(kBoundary).append("\n");
  text += "Content-Type: text/plain;\n\tcharset=\"us-ascii\"\n";
  text += "Content-Transfer-Encoding: 7bit\n\n";
  text.append(kRule).append(notice.body).append("\n\n").append(kRule);
  text.append("--").append(kBoundary).append("--\n");
  auto target = platform::WholeFile::Create(path);
  return target && WriteAsText(target, text) &&
         target.Commit(true, DeliveryDurability(platform::Durability::kDataAndName));
}

std::string SubjectOf(const ConnectorMessage& message) {
  std::string subject = message.Subject;
  if (subject.empty()) {
    static_cast<void>(ReadHeaderValue(OutgoingMessagePath(message.Connector, message.MessageID),
                                      "Subject", subject, kSubjectBytes, kSubjectLines));
  }
  return subject;
}

ConnectorMessage NoticeMessage(const ConnectorMessage& message) {
  ConnectorMessage notice = message.Derive();
  SetText(notice.MessageID, NewMessageId());
  SetText(notice.Server, "");
  // Nobody asked for a notice of the notice: two local mailboxes would go on for ever.
  SetText(notice.DSNFlags, "");
  SetText(notice.Priority, "Normal");
  SetText(notice.Status, "Undelivered");
  notice.NextSendTime = message.TimeAcquired;
  notice.Retries = 0;
  notice.Recipients = message.Sender;
  SetText(notice.Sender, "[SMTP:" + PostmasterAddress() + "]");
  return notice;
}

const char* KindWord(DsnKind kind) {
  switch (kind) {
    case DsnKind::kSuccess:
      return "Success";
  }
  return "";
}

}  // namespace

std::int32_t GenerateDSN(const ConnectorMessage& message, const MailboxRecord& mailbox,
                         DsnKind kind) {
  if (message.DSNFlags[0] == '\0' || settings::Get(settings::kDsnStatus) != 1) return 0;
  if (PositionNoCase(message.DSNFlags, "SUCCESS") == std::string_view::npos) return 0;
  const ConnectorMessage notice = NoticeMessage(message);
  const std::string subject = SubjectOf(message);
  const std::string recipient = std::string(mailbox.Postoffice) + "/" + mailbox.Mailbox;
  const bool written = WriteDSNFile(
      InboundMessagePath(message.Connector, notice.MessageID),
      {KindWord(kind), std::string(SenderAddress(message.Sender)), subject, notice.MessageID,
       "The message you sent to " + recipient +
           " was successfully delivered.\n\nThe subject of the message follows: \n\n" + subject,
       "[SF:" + recipient + "]"});
  const std::string queue = ConnectorDirectory(message.Connector);
  if (written && WriteInboundCommandFile(queue, notice) == 1) return 1;
  RemoveInboundMessage(queue, notice.MessageID);
  return 0;
}

}  // namespace corvane
