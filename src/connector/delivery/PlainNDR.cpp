#include "connector/delivery/PlainNDR.h"

#include "connector/delivery/ParsedAddress.h"
#include "connector/delivery/TextCopy.h"
#include "connector/logs/Logs.h"
#include "connector/queue/Durability.h"
#include "message/MessageDate.h"
#include "platform/TextFile.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::size_t kPieceBytes = 2048;

std::string HeaderAndReason(const PlainNDR& bounce) {
  const std::string_view address = SenderAddress(bounce.failedRecipient);
  std::string text = "From: " + bounce.from + "\n";
  text += "To: <" + bounce.to + ">\n";
  text += "Subject: Message Delivery Failure\n";
  text += "Date: " + FormatMessageDate() + "\n";
  text += "Message-ID: " + bounce.messageId + "\n";
  text += "Precedence: bulk\nAuto-Submitted: auto-replied\n";
  text += "\n\n";
  text.append("Message could not be delivered. Error was: ").append(bounce.reason).append("\n\n");
  text += "The following recipient(s) could not be reached:\n\n";
  text.append("\t").append(address.empty() ? bounce.failedRecipient : address).append("\n");
  return text;
}

bool WriteOriginal(const PlainNDR& bounce, platform::WholeFile& target) {
  auto original = platform::TextFile::Open(bounce.original, platform::TextMode::kRead);
  if (original) {
    return WriteAsText(target, "\nMessage contents follow:\n\n") &&
           CopyAsText(original, target, kPieceBytes);
  }
  LogDebugF("CV-F0004: No input message file contents found (%s).\n", bounce.original.c_str());
  return WriteAsText(target,
                     "Corvane: Message Delivery Failure.\n\n"
                     "Message file was corrupted... Please resend.\n\n");
}

}  // namespace

bool WritePlainNDR(const PlainNDR& bounce) {
  auto target = platform::WholeFile::Create(bounce.target);
  return target && WriteAsText(target, HeaderAndReason(bounce)) && WriteOriginal(bounce, target) &&
         target.Commit(true, DeliveryDurability(platform::Durability::kDataAndName));
}

}  // namespace corvane
