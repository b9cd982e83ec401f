// MessageIndexTestSupport.h -- a folder with a message for the tests of the message indexer.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "SERVICES/Library/LIBMessageIndex/MessageHeaders.h"
#include "tests/support/SettingsFixture.h"

namespace corvane::test {

class MessageFixture : public SettingsFixture {
 protected:
  static constexpr const char* kName = "0123456789ABCDEF0123456789ABCDEF.MAI";

  MessageFixture() { std::filesystem::create_directories(Folder()); }
  [[nodiscard]] std::string Folder() const { return Directory() / "Inbox"; }
  [[nodiscard]] std::string Message() const { return Folder() + "/" + kName; }
  void Write(std::string_view bytes) const { WriteBytes(Message(), bytes); }
  [[nodiscard]] std::string Read() const { return ReadBytes(Message()); }
};

// What a row asks of the record, as text.
using Field = std::string (*)(const MessageHeaders&);
inline std::string To(const MessageHeaders& h) { return h.To; }
inline std::string Cc(const MessageHeaders& h) { return h.Cc; }
inline std::string From(const MessageHeaders& h) { return h.From; }
inline std::string Sender(const MessageHeaders& h) { return h.Sender; }
inline std::string ReplyTo(const MessageHeaders& h) { return h.ReplyTo; }
inline std::string MessageId(const MessageHeaders& h) { return h.MessageId; }
inline std::string Subject(const MessageHeaders& h) { return h.Subject; }
inline std::string Categories(const MessageHeaders& h) { return h.Categories; }
inline std::string Thread(const MessageHeaders& h) { return h.Thread; }
inline std::string Class(const MessageHeaders& h) { return h.Class; }
inline std::string Flags(const MessageHeaders& h) { return h.Flags; }
inline std::string Received(const MessageHeaders& h) { return h.Received; }
inline std::string MessageDate(const MessageHeaders& h) { return h.MessageDate; }
inline std::string HeaderBlock(const MessageHeaders& h) { return h.Headers; }
inline std::string Importance(const MessageHeaders& h) { return std::to_string(h.Importance); }
inline std::string Attachments(const MessageHeaders& h) { return std::to_string(h.Attachments); }
inline std::string Read(const MessageHeaders& h) { return std::to_string(h.Read); }
inline std::string Uid(const MessageHeaders& h) { return std::to_string(h.UID); }

// One rule: a message, and what the record says of it.
struct Case {
  const char* name;
  std::string_view message;
  Field field;
  std::string_view value;
};

}  // namespace corvane::test
