// StubProvider.cpp -- a provider library that answers what a test wants.
//
// Answers stand in the text file that CORVANE_STUB_ANSWERS names, read at each call; the first line
// that fits is taken, and no line means 0:
//
//   PostofficeGet acme 1 Status=0
//   PostofficeGet * -1
//   MailboxGet acme/anna 1 Status=1 RedirectAddress=[SF:acme/bob] RedirectStatus=2 Limit=10 Size=3
//   GroupGet acme/sales 1 GroupStatus=1
//   GroupMember acme/sales 1 MemberAddress=[SF:acme/anna]      one line a member, in order
//   SMTPDomainGet acme.test 1
//   AddressMapGet [SF:acme/anna] 1 SourceAddress=[SMTP:anna@acme.test]
//   GetOption acme/anna:DisplayName 1 Value=Anna               also for GetOption_Ex
//   NotifyRemote MTA 0
//   StoreLibrary_Init * 1
//   Direct_StoreIndex_InsertItem acme/anna 1
//
// "throw" in place of the result throws an exception. A field Remove=PATH removes that file. A
// value "<full>" fills a text to its last byte without a NUL. "%20" stands for a blank. Each call
// adds a line, its name and what it was asked, to the file that CORVANE_STUB_LOG names.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"

namespace {

struct StubAnswer {
  std::string result = "0";
  std::vector<std::pair<std::string, std::string>> fields;
};

std::string Unescape(std::string text) {
  for (std::size_t at; (at = text.find("%20")) != std::string::npos;) text.replace(at, 3, " ");
  return text;
}

std::optional<StubAnswer> ParseLine(const std::string& line, const std::string& call,
                                    const std::string& asked) {
  std::istringstream words(line);
  std::string name, pattern, field;
  StubAnswer answer;
  words >> name >> pattern >> answer.result;
  if (name != call || (pattern != "*" && Unescape(pattern) != asked)) return std::nullopt;
  while (words >> field) {
    const std::size_t sign = field.find('=');
    answer.fields.emplace_back(field.substr(0, sign), Unescape(field.substr(sign + 1)));
  }
  return answer;
}

// All lines that fit, in their order.
std::vector<StubAnswer> Answers(const std::string& call, const std::string& asked) {
  std::vector<StubAnswer> answers;
  const char* path = std::getenv("CORVANE_STUB_ANSWERS");
  std::ifstream file(path == nullptr ? "" : path);
  for (std::string line; std::getline(file, line);) {
    if (auto answer = ParseLine(line, call, asked)) answers.push_back(std::move(*answer));
  }
  return answers;
}

void Log(const std::string& line) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  if (const char* path = std::getenv("CORVANE_STUB_LOG")) {
    std::ofstream(path, std::ios::app) << line << "\n";
  }
}

std::int32_t Result(const StubAnswer& answer) {
  if (answer.result == "throw") throw std::runtime_error("the stub was told to");
  return static_cast<std::int32_t>(std::atol(answer.result.c_str()));
}

StubAnswer FirstAnswer(const std::string& call, const std::string& asked) {
  const auto answers = Answers(call, asked);
  if (answers.empty()) return {};
  for (const auto& [key, value] : answers.front().fields) {
    if (key == "Remove") std::remove(value.c_str());
  }
  return answers.front();
}

StubAnswer Ask(const std::string& call, const std::string& asked) {
  Log(call + " " + asked);
  return FirstAnswer(call, asked);
}

void Write(char* field, std::size_t size, const std::string& value) {
  if (value == "<full>") {
    std::memset(field, 'x', size);
  } else {
    std::snprintf(field, size, "%s", value.c_str());
  }
}

template <typename Field>
void Fill(const StubAnswer& answer, const char* name, Field& field) {
  for (const auto& [key, value] : answer.fields) {
    if (key != name) continue;
    if constexpr (std::is_array_v<Field>) {
      Write(field, sizeof field, value);
    } else {
      field = static_cast<Field>(std::atoll(value.c_str()));
    }
  }
}

std::string Joined(const char* left, const char* right) { return std::string(left) + "/" + right; }

thread_local std::size_t nextMember = 0;

std::int32_t NextMember(corvane::GroupMemberRecord& record) {
  const auto answers = Answers("GroupMember", Joined(record.Postoffice, record.GroupName));
  if (nextMember >= answers.size()) return 0;
  const StubAnswer& answer = answers[nextMember++];
  Fill(answer, "MemberAddress", record.MemberAddress);
  return Result(answer);
}

std::string ValueOf(const StubAnswer& answer) {
  for (const auto& [key, value] : answer.fields) {
    if (key == "Value") return value;
  }
  return "";
}

}  // namespace

extern "C" {

#define STUB_EXPORT [[gnu::visibility("default")]] std::int32_t

STUB_EXPORT PostofficeGet(corvane::PostofficeRecord* record) {
  const StubAnswer answer = Ask("PostofficeGet", record->Postoffice);
  Fill(answer, "Status", record->Status);
  return Result(answer);
}

STUB_EXPORT MailboxGet(corvane::MailboxRecord* record) {
  const StubAnswer answer = Ask("MailboxGet", Joined(record->Postoffice, record->Mailbox));
  Fill(answer, "RedirectAddress", record->RedirectAddress);
  Fill(answer, "RedirectStatus", record->RedirectStatus);
  Fill(answer, "Status", record->Status);
  Fill(answer, "Limit", record->Limit);
  Fill(answer, "Size", record->Size);
  return Result(answer);
}

STUB_EXPORT GroupGet(corvane::GroupRecord* record) {
  const StubAnswer answer = Ask("GroupGet", Joined(record->Postoffice, record->GroupName));
  Fill(answer, "GroupStatus", record->GroupStatus);
  return Result(answer);
}

STUB_EXPORT GroupMemberFindFirst(corvane::GroupMemberRecord* record) {
  Log("GroupMemberFindFirst " + Joined(record->Postoffice, record->GroupName));
  nextMember = 0;
  return NextMember(*record);
}

STUB_EXPORT GroupMemberFindNext(corvane::GroupMemberRecord* record) {
  Log("GroupMemberFindNext " + Joined(record->Postoffice, record->GroupName));
  return NextMember(*record);
}

STUB_EXPORT SMTPDomainGet(corvane::DomainRecord* record) {
  return Result(Ask("SMTPDomainGet", record->Domain));
}

STUB_EXPORT AddressMapGet(corvane::AddressMapRecord* record) {
  const StubAnswer answer = Ask("AddressMapGet", record->DestinationAddress);
  Fill(answer, "SourceAddress", record->SourceAddress);
  Fill(answer, "Status", record->Status);
  return Result(answer);
}

STUB_EXPORT GetOption(std::int32_t, const char* key, const char* name, char* buffer) {
  const StubAnswer answer = Ask("GetOption", std::string(key) + ":" + name);
  std::strcpy(buffer, ValueOf(answer).c_str());
  return Result(answer);
}

STUB_EXPORT GetOption_Ex(std::int32_t, const char* key, const char* name, char* buffer,
                         std::int32_t size) {
  const std::string asked = std::string(key) + ":" + name;
  Log("GetOption_Ex " + asked);
  const StubAnswer answer = FirstAnswer("GetOption", asked);
  if (!answer.fields.empty()) Write(buffer, static_cast<std::size_t>(size), ValueOf(answer));
  return Result(answer);
}

STUB_EXPORT NotifyRemote(const char* server, const char* protocol, const char* text) {
  Log("NotifyRemote " + std::string(server) + " " + text);
  return Result(FirstAnswer("NotifyRemote", protocol));
}

STUB_EXPORT StoreLibrary_Init() { return Result(Ask("StoreLibrary_Init", "")); }
STUB_EXPORT StoreLibrary_UnInit() { return Result(Ask("StoreLibrary_UnInit", "")); }

STUB_EXPORT Direct_StoreIndex_InsertItem(const char* postoffice, const char* mailbox,
                                         const char* folder, const char* item) {
  Log("Direct_StoreIndex_InsertItem " + std::string(folder) + " " + item);
  return Result(FirstAnswer("Direct_StoreIndex_InsertItem", Joined(postoffice, mailbox)));
}

STUB_EXPORT Direct_StoreIndex_InsertItemEx(const char* postoffice, const char* mailbox,
                                           const char* folder, const char* item, void* indexItem) {
  Log("Direct_StoreIndex_InsertItemEx " + std::string(folder) + " " + item);
  return indexItem == nullptr ? 0 : Direct_StoreIndex_InsertItem(postoffice, mailbox, folder, item);
}

// Shows how arguments come through a wrapper: what it was given, in one number.
STUB_EXPORT StoreFolder_Lock(const char* text, std::int32_t number, std::uint64_t large) {
  return static_cast<std::int32_t>(std::strlen(text)) + number + static_cast<std::int32_t>(large);
}

[[gnu::visibility("default")]] void* Memory_Allocate(std::uint64_t size) {
  return size == 0 ? nullptr : std::malloc(size);
}
STUB_EXPORT Memory_Free(void* memory) {
  std::free(memory);
  return 1;
}

}  // extern "C"
