// ParseMessageBench.cpp -- message files into index records, beside the same files read bare and
// beside their headers read with MimeMessage.
//
// The messages are those of CORVANE_CORPUS, as often as it takes to make 20,000 a round, and one of
// 50 MB in two parts. Run with --benchmark_enable_random_interleaving=true
// --benchmark_repetitions=3.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "SERVICES/Library/LIBMessageIndex/ParseMessage.h"
#include "message/MimeMessage.h"

namespace {

namespace fs = std::filesystem;
using corvane::MessageHeaders;
using corvane::MimeMessage;

constexpr std::size_t kMessages = 20'000;
constexpr std::size_t kLargeBytes = 50'000'000;

const std::vector<std::string>& Corpus() {
  static const std::vector<std::string> paths = [] {
    std::vector<std::string> found;
    const char* named = std::getenv("CORVANE_CORPUS");
    std::error_code none;
    for (const auto& entry :
         fs::directory_iterator(fs::path(named == nullptr ? "." : named) / "messages", none)) {
      found.push_back(entry.path().string());
    }
    return found;
  }();
  return paths;
}

// A message of two parts, gone at the end of the program.
class LargeMessage {
 public:
  LargeMessage() : path_(fs::temp_directory_path() / "corvane-large-message.MAI") {
    std::ofstream file(path_, std::ios::binary);
    file << "Subject: large\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\ntext\r\n"
            "--b\r\nContent-Disposition: attachment\r\n\r\n";
    const std::string line = std::string(76, 'A') + "\r\n";
    for (std::size_t at = 0; at < kLargeBytes; at += line.size()) file << line;
    file << "--b--\r\n";
  }
  ~LargeMessage() { fs::remove(path_); }
  [[nodiscard]] std::string Path() const { return path_.string(); }

 private:
  fs::path path_;
};

const std::string& Large() {
  static const LargeMessage message;
  static const std::string path = message.Path();
  return path;
}

void ReadBare(const std::string& path) {
  static std::string buffer(1 << 20, '\0');
  std::FILE* file = std::fopen(path.c_str(), "rb");
  std::setvbuf(file, nullptr, _IONBF, 0);
  while (std::fread(buffer.data(), 1, buffer.size(), file) == buffer.size()) continue;
  benchmark::DoNotOptimize(buffer.data());
  std::fclose(file);
}

void ReadHeaders(const std::string& path) {
  MimeMessage message;
  message.Load(corvane::Text(path), true, false, false);
  message.ParseHeaders(message.Headers, true);
  for (const char* field : {"Subject", "From", "To", "Date"}) {
    benchmark::DoNotOptimize(message.Headers.FirstValue(field));
  }
}

void ParseMime(const std::string& path) {
  MessageHeaders headers;
  benchmark::DoNotOptimize(corvane::ParseMessageMime(path, headers));
}

void ParseLines(const std::string& path) {
  MessageHeaders headers;
  benchmark::DoNotOptimize(
      corvane::ParseMessageLines(path, headers, false, false, corvane::kVerifyAttachments, false));
}

void Many(benchmark::State& state, void (*read)(const std::string&)) {
  if (Corpus().empty()) {
    state.SkipWithError("no messages; set CORVANE_CORPUS");
    return;
  }
  for (auto round : state) {
    for (std::size_t i = 0; i < kMessages; ++i) read(Corpus()[i % Corpus().size()]);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kMessages));
}

void One(benchmark::State& state, void (*read)(const std::string&)) {
  for (auto round : state) read(Large());
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kLargeBytes));
}

BENCHMARK_CAPTURE(Many, bare, ReadBare)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Many, headers, ReadHeaders)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Many, mime, ParseMime)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Many, lines, ParseLines)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(One, bare, ReadBare)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(One, mime, ParseMime)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(One, lines, ParseLines)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
