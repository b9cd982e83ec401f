// MessageIndexTestSupport.h -- a folder with a message for the tests of the message indexer.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

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

}  // namespace corvane::test
