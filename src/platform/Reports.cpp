#include "platform/Reports.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>

#include "platform/Format.h"
#include "platform/LineWriter.h"
#include "platform/Machine.h"

namespace corvane::platform {
namespace {

struct EventLog {
  std::mutex mutex;
  std::string source;  // openlog keeps a pointer to it
  bool opened = false;
  EventListener listener = nullptr;
  void* context = nullptr;
};

// Never destroyed: threads report until the process ends.
EventLog& TheEventLog() {
  static EventLog* const log = new EventLog;
  return *log;
}

int Priority(EventType type) {
  switch (type) {
    case EventType::kError:
      return LOG_ERR;
    case EventType::kWarning:
      return LOG_WARNING;
    case EventType::kInformation:
      return LOG_INFO;
  }
  return LOG_INFO;
}

// The ident goes into each record, so a change of source is no more than another ident.
void UseSource(EventLog& log, std::string_view source) {
  if (log.opened && log.source == source) return;
  if (log.opened) closelog();
  log.source = source;
  openlog(log.source.c_str(), LOG_PID, LOG_MAIL);
  log.opened = true;
}

void WriteRecords(EventType type, std::uint32_t eventId, std::string_view text) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    if (end > 0) {
      syslog(Priority(type), "event 0x%08x: %.*s", eventId, static_cast<int>(end), text.data());
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

bool consoleIsSilent = false;

// Null until the lines of the stream are gathered; never destroyed then.
std::atomic<LineWriter*> consoleWriter{nullptr};
std::atomic<LineWriter*> debugWriter{nullptr};

void Print(std::FILE* stream, const std::atomic<LineWriter*>& writer, std::string_view text) {
  if (LineWriter* const gatherer = writer.load(std::memory_order_acquire)) {
    return gatherer->Put(text);
  }
  std::fwrite(text.data(), 1, text.size(), stream);
  std::fflush(stream);
}

void Gather(int descriptor, std::atomic<LineWriter*>& writer) {
  auto started = std::make_unique<LineWriter>(descriptor);
  if (started->Start()) writer.store(started.release(), std::memory_order_release);
}

bool DebugChannelWanted() {
  static const bool wanted = EnvironmentVariable("CORVANE_DEBUG_CHANNEL") == "1";
  return wanted;
}

}  // namespace

void WriteEventLog(std::string_view source, EventType type, std::uint32_t eventId,
                   std::string_view first, std::string_view second) {
  EventLog& log = TheEventLog();
  const std::lock_guard lock(log.mutex);
  if (log.listener != nullptr) {
    log.listener(log.context, source, type, eventId, first, second);
    return;
  }
  UseSource(log, source);
  WriteRecords(type, eventId, first);
  WriteRecords(type, eventId, second);
}

void SetEventListener(EventListener listener, void* context) {
  EventLog& log = TheEventLog();
  const std::lock_guard lock(log.mutex);
  log.listener = listener;
  log.context = context;
}

void WriteDebugChannel(std::string_view text) {
  if (DebugChannelWanted()) Print(stderr, debugWriter, text);
}

bool IsTerminal(std::FILE* stream) { return isatty(fileno(stream)) == 1; }

void SilenceConsole() { consoleIsSilent = true; }

void PrintConsole(std::string_view text) {
  if (!consoleIsSilent) Print(stdout, consoleWriter, text);
}

void PrintConsoleF(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = FormatTextV(format, arguments);
  va_end(arguments);
  PrintConsole(text);
}

void GatherConsole() {
  Gather(STDOUT_FILENO, consoleWriter);
  if (DebugChannelWanted()) Gather(STDERR_FILENO, debugWriter);
}

void FlushConsole(std::int64_t milliseconds) {
  for (const auto* writer : {&consoleWriter, &debugWriter}) {
    if (LineWriter* const gatherer = writer->load(std::memory_order_acquire)) {
      (void)gatherer->Drain(std::chrono::milliseconds(milliseconds));
    }
  }
}

}  // namespace corvane::platform
