// MessageBench.cpp -- reading messages, beside GMime and mimetic where they are installed.
//
// Two jobs over the same bytes in one run: the header block alone with four fields decoded, and all
// parts with their transfer encodings undone. GMime and we also decode encoded words, and we bring
// text to UTF-8; mimetic does neither. The messages are those of CORVANE_CORPUS, and one of 20 MB
// with a Base64 attachment. Run with --benchmark_enable_random_interleaving=true
// --benchmark_repetitions=3.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "message/Base64.h"
#include "message/MimeMessage.h"
#ifdef CORVANE_BENCH_GMIME
#include <gmime/gmime.h>
#endif
#ifdef CORVANE_BENCH_MIMETIC
#include <mimetic/mimetic.h>

#include <sstream>
#endif

namespace {

using corvane::HeaderList;
using corvane::MimeMessage;
using corvane::MimePart;
using Messages = std::vector<std::string>;

constexpr const char* kFields[] = {"Subject", "From", "To", "Date"};

Messages ReadCorpus() {
  Messages messages;
  const char* named = std::getenv("CORVANE_CORPUS");
  std::filesystem::path folder = std::filesystem::path(named == nullptr ? "." : named) / "messages";
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(folder, none)) {
    std::ifstream stream(entry.path(), std::ios::binary);
    messages.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  }
  return messages;
}

const Messages& Corpus() {
  static const Messages messages = ReadCorpus();
  return messages;
}

// Text and one attachment in lines of 76 characters, about 20 MB.
Messages MakeLarge() {
  std::string body(15'000'000, '\0');
  unsigned state = 1;
  for (char& c : body) c = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  std::string encoded;
  corvane::EncodeBase64(body, encoded);
  std::string message =
      "Subject: =?utf-8?Q?gro=C3=9F?=\r\nFrom: a@b\r\nTo: c@d\r\nDate: Sun, 1 Jan 2023 10:00:00 "
      "+0200"
      "\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\ntext\r\n--b\r\n"
      "Content-Type: application/octet-stream\r\nContent-Transfer-Encoding: base64\r\n\r\n";
  for (std::size_t at = 0; at < encoded.size(); at += 76) {
    message.append(encoded, at, 76).append("\r\n");
  }
  return {message + "--b--\r\n"};
}

const Messages& Large() {
  static const Messages messages = MakeLarge();
  return messages;
}

// Runs `read` over all messages and counts them and their bytes.
template <typename Read>
void Run(benchmark::State& state, const Messages& messages, Read read) {
  if (messages.empty()) {
    state.SkipWithError("no messages; set CORVANE_CORPUS");
    return;
  }
  std::size_t bytes = 0;
  for (const std::string& message : messages) bytes += message.size();
  for (auto _ : state) {
    for (const std::string& message : messages) benchmark::DoNotOptimize(read(message));
  }
  auto rounds = static_cast<std::size_t>(state.iterations());
  state.SetBytesProcessed(static_cast<std::int64_t>(rounds * bytes));
  state.SetItemsProcessed(static_cast<std::int64_t>(rounds * messages.size()));
}

// A copy of every byte: no reader of text in memory that keeps it can be faster.
std::size_t CopyFloor(const std::string& text) {
  std::string copy(text);
  benchmark::DoNotOptimize(copy.data());
  return copy.size();
}

// The text up to its first empty line.
std::string HeaderBlock(const std::string& text) {
  std::size_t end = text.find('\n');
  while (end != text.npos && text[end + 1] != '\n' && text.compare(end + 1, 2, "\r\n") != 0) {
    end = text.find('\n', end + 1);
  }
  return text.substr(0, end == text.npos ? end : end + 1);
}

std::size_t OurHeaders(const std::string& text) {
  HeaderList headers;
  headers.Parse(HeaderBlock(text), false);
  std::size_t sum = 0;
  for (const char* field : kFields) sum += headers.FirstValue(field).size();
  return sum;
}

std::size_t OurParts(const std::string& text) {
  MimeMessage message;
  message.Load(text, false, true, false);
  message.ParseParts(false);
  std::size_t sum = 0;
  for (MimePart& part : message.PartList) {
    DecodePart(part);
    sum += part.Body.size();
  }
  return sum;
}

void BM_CopyFloorCorpus(benchmark::State& state) { Run(state, Corpus(), CopyFloor); }
void BM_OurHeadersCorpus(benchmark::State& state) { Run(state, Corpus(), OurHeaders); }
void BM_OurPartsCorpus(benchmark::State& state) { Run(state, Corpus(), OurParts); }
void BM_CopyFloorLarge(benchmark::State& state) { Run(state, Large(), CopyFloor); }
void BM_OurHeadersLarge(benchmark::State& state) { Run(state, Large(), OurHeaders); }
void BM_OurPartsLarge(benchmark::State& state) { Run(state, Large(), OurParts); }
BENCHMARK(BM_CopyFloorCorpus)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OurHeadersCorpus)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OurPartsCorpus)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CopyFloorLarge)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OurHeadersLarge)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OurPartsLarge)->Unit(benchmark::kMillisecond);

#ifdef CORVANE_BENCH_MIMETIC

// mimetic reads the whole message at once or its headers alone, by a mask.
std::size_t MimeticHeaders(const std::string& text) {
  std::string block = HeaderBlock(text) + "\n";
  mimetic::MimeEntity entity;
  entity.load(block.begin(), block.end(),
              mimetic::imBody | mimetic::imChildParts | mimetic::imPreamble | mimetic::imEpilogue);
  std::size_t sum = 0;
  for (const char* field : kFields) sum += entity.header().field(field).value().size();
  return sum;
}

std::size_t MimeticDecode(const mimetic::MimeEntity& entity) {
  const mimetic::MimeEntityList& parts = entity.body().parts();
  if (!parts.empty()) {
    std::size_t sum = 0;
    for (const mimetic::MimeEntity* part : parts) sum += MimeticDecode(*part);
    return sum;
  }
  const std::string& encoding = entity.header().contentTransferEncoding().mechanism();
  std::string decoded;
  auto out = std::back_inserter(decoded);
  if (encoding == "base64") {
    mimetic::Base64::Decoder decoder;
    mimetic::decode(entity.body().begin(), entity.body().end(), decoder, out);
  } else if (encoding == "quoted-printable") {
    mimetic::QP::Decoder decoder;
    mimetic::decode(entity.body().begin(), entity.body().end(), decoder, out);
  } else {
    return entity.body().size();
  }
  return decoded.size();
}

std::size_t MimeticParts(const std::string& text) {
  mimetic::MimeEntity entity;
  entity.load(text.begin(), text.end(), 0);
  return MimeticDecode(entity);
}

void BM_MimeticHeadersCorpus(benchmark::State& state) { Run(state, Corpus(), MimeticHeaders); }
void BM_MimeticPartsCorpus(benchmark::State& state) { Run(state, Corpus(), MimeticParts); }
void BM_MimeticHeadersLarge(benchmark::State& state) { Run(state, Large(), MimeticHeaders); }
void BM_MimeticPartsLarge(benchmark::State& state) { Run(state, Large(), MimeticParts); }
BENCHMARK(BM_MimeticHeadersCorpus)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MimeticPartsCorpus)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MimeticHeadersLarge)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MimeticPartsLarge)->Unit(benchmark::kMillisecond);

#endif

#ifdef CORVANE_BENCH_GMIME

GMimeMessage* ReadByGMime(const std::string& text) {
  static const bool started = [] {
    g_mime_init();
    return true;
  }();
  benchmark::DoNotOptimize(started);
  GMimeStream* stream = g_mime_stream_mem_new_with_buffer(text.data(), text.size());
  GMimeParser* parser = g_mime_parser_new_with_stream(stream);
  GMimeMessage* message = g_mime_parser_construct_message(parser, nullptr);
  g_object_unref(parser);
  g_object_unref(stream);
  return message;
}

void DecodeByGMime(GMimeObject*, GMimeObject* object, gpointer sum) {
  if (!GMIME_IS_PART(object)) return;
  GMimeDataWrapper* content = g_mime_part_get_content(GMIME_PART(object));
  if (content == nullptr) return;
  GMimeStream* stream = g_mime_stream_mem_new();
  g_mime_data_wrapper_write_to_stream(content, stream);
  *static_cast<std::size_t*>(sum) += static_cast<std::size_t>(g_mime_stream_length(stream));
  g_object_unref(stream);
}

std::size_t GMimeHeaders(const std::string& text) {
  GMimeMessage* message = ReadByGMime(HeaderBlock(text) + "\n");
  if (message == nullptr) return 0;
  std::size_t sum = 0;
  for (const char* field : kFields) {
    const char* value = g_mime_object_get_header(GMIME_OBJECT(message), field);
    char* decoded = value == nullptr ? nullptr : g_mime_utils_header_decode_text(nullptr, value);
    if (decoded != nullptr) sum += std::char_traits<char>::length(decoded);
    g_free(decoded);
  }
  g_object_unref(message);
  return sum;
}

std::size_t GMimeParts(const std::string& text) {
  GMimeMessage* message = ReadByGMime(text);
  if (message == nullptr) return 0;
  std::size_t sum = 0;
  g_mime_message_foreach(message, DecodeByGMime, &sum);
  g_object_unref(message);
  return sum;
}

void BM_GMimeHeadersCorpus(benchmark::State& state) { Run(state, Corpus(), GMimeHeaders); }
void BM_GMimePartsCorpus(benchmark::State& state) { Run(state, Corpus(), GMimeParts); }
void BM_GMimeHeadersLarge(benchmark::State& state) { Run(state, Large(), GMimeHeaders); }
void BM_GMimePartsLarge(benchmark::State& state) { Run(state, Large(), GMimeParts); }
BENCHMARK(BM_GMimeHeadersCorpus)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GMimePartsCorpus)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GMimeHeadersLarge)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GMimePartsLarge)->Unit(benchmark::kMillisecond);

#endif

}  // namespace

BENCHMARK_MAIN();
