// IndexFolder.h -- folders with an index of any size for the benches, in settings of their own.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "connector/settings/Settings.h"
#include "platform/SettingsStore.h"

namespace corvane::bench {

inline void Require(bool done) {
  if (!done) std::abort();
}

// A directory of the run's own with an empty settings store as the process's store; gone at the
// end.
class Workplace {
 public:
  Workplace() {
    std::string pattern = (std::filesystem::temp_directory_path() / "index-bench-XXXXXX").string();
    Require(mkdtemp(pattern.data()) != nullptr);
    path_ = pattern;
    const std::string store = path_ + "/settings.db";
    platform::SettingsStore::UsePath(store);
    setenv("CORVANE_SETTINGS", store.c_str(), 1);  // for libraries that are loaded
    Set(settings::kUseXmlStreamIndexDeserialisation, 1);
    Set(settings::kUseXmlStreamIndexSerialisation, 1);
  }
  ~Workplace() { std::filesystem::remove_all(path_); }
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;

  [[nodiscard]] const std::string& Path() const { return path_; }
  // What is held of other settings is read anew, so those that are held from the start come last.
  static void Set(const settings::DwordSetting& setting, std::uint32_t value) {
    if (setting.read == settings::Read::Start) {
      settings::Hold(setting, value);
      return;
    }
    Require(platform::SettingsStore::Default().SetDword(settings::WholeKey(setting.key),
                                                        setting.name, value));
    settings::ForgetSettings();
  }

 private:
  std::string path_;
};

inline Workplace& Place() {
  static Workplace place;
  return place;
}

inline std::string MessageName(std::int64_t number) {
  std::array<char, 32> name{};
  std::snprintf(name.data(), name.size(), "%08llX00000001.MAI",
                static_cast<unsigned long long>(number));
  return name.data();
}

inline void WriteMessage(const std::string& path, std::int64_t number) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << "Return-Path: <anna@one.example>\r\nReceived: from one.example (one.example "
          "[192.0.2.1])\r\n\tby two.example with ESMTP id 4711; Thu, 29 Feb 2024 12:00:00 +0000\r\n"
          "From: \"Anna Example\" <anna@one.example>\r\nTo: bert@two.example, "
          "carla@two.example\r\nSubject: What message "
       << number
       << " of this folder has to say\r\nDate: Thu, 29 Feb 2024 12:00:00 +0000\r\nMessage-ID: <"
       << number
       << "@one.example>\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=utf-8\r\n\r\n"
          "A short text.\r\n";
}

// What an insertion makes of such a message.
inline std::string Element(std::int64_t number) {
  const std::string digits = std::to_string(number);
  return "<ELEMENT ID=\"" + MessageName(number) + "\" UID=\"" + digits +
         "\"><ATTACHMENTS>0</ATTACHMENTS><CC></CC><FLAGSTATUS>\\RECENT</FLAGSTATUS><FROM>\"Anna "
         "Example\" &lt;anna@one.example&gt;</FROM><IMPORTANCE>3</IMPORTANCE><MESSAGEDATE>"
         "2024-02-29T12:00:00</MESSAGEDATE><MODIFIEDDATE>1709208000</MODIFIEDDATE><MSGID>&lt;" +
         digits +
         "@one.example&gt;</MSGID><READ>0</READ><RECEIVED>2024-02-29T12:00:00</RECEIVED>"
         "<REPLYTO></REPLYTO><SENDER></SENDER><SIZE>512</SIZE><STATE>0</STATE><SUBJECT>What "
         "message " +
         digits +
         " of this folder has to say</SUBJECT><TO>bert@two.example, carla@two.example</TO>"
         "</ELEMENT>";
}

// A folder whose index lists `items` messages 1, 2, ... The messages themselves are not made.
inline std::string MakeIndexedFolder(const std::string& name, std::int64_t items) {
  const std::string folder = Place().Path() + "/" + name;
  std::filesystem::create_directories(folder);
  std::ofstream file(folder + "/_index.xml", std::ios::binary | std::ios::trunc);
  std::array<char, 48> header{};
  std::snprintf(header.data(), header.size(), "<BASEELEMENT LASTUID=\"x%08llx\">",
                static_cast<unsigned long long>(items));
  file << header.data();
  for (std::int64_t number = 1; number <= items; ++number) file << Element(number);
  file << "</BASEELEMENT>\r\n";
  file.close();
  Require(file.good());
  return folder;
}

// The sizes of folders; the largest takes CORVANE_BENCH_MILLION.
template <typename Benchmark>
void FolderSizes(Benchmark* benchmark) {
  for (const std::int64_t items : {1'000, 10'000, 100'000}) benchmark->Arg(items);
  if (std::getenv("CORVANE_BENCH_MILLION") != nullptr) benchmark->Arg(1'000'000);
}

}  // namespace corvane::bench
