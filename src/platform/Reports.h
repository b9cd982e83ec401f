// Reports.h -- where reports leave the program: event log, debugger channel, console.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace corvane::platform {

enum class EventType : std::uint16_t { kError = 1, kWarning = 2, kInformation = 4 };

// One entry in the system's event log (syslog, facility mail): source, type, event id, then the
// strings, a record a line. A test hears it instead when it has set a listener.
void WriteEventLog(std::string_view source, EventType type, std::uint32_t eventId,
                   std::string_view first, std::string_view second);
using EventListener = void (*)(void* context, std::string_view source, EventType type,
                               std::uint32_t eventId, std::string_view first,
                               std::string_view second);
void SetEventListener(EventListener listener, void* context);

// Text as it stands, at once, to standard error when the environment variable CORVANE_DEBUG_CHANNEL
// is 1, otherwise nothing.
void WriteDebugChannel(std::string_view text);

// Whether a stream goes to a terminal.
[[nodiscard]] bool IsTerminal(std::FILE* stream);

// For a program whose standard output is its answer: nothing is printed from here on. To be called
// before threads are started.
void SilenceConsole();
// Text as it stands, at once, to standard output.
void PrintConsole(std::string_view text);
void PrintConsoleF(const char* format, ...) __attribute__((format(printf, 1, 2)));

// From here on both leave their lines to a thread (LineWriter.h), so that a program at work never
// waits for who reads them. To be called once, when the signals that threads must not take are
// blocked. Without a thread to be had all stays as it was.
void GatherConsole();
// Returns when all lines are written, or after `milliseconds`; before the process is ended in a way
// that runs nothing else.
void FlushConsole(std::int64_t milliseconds);

}  // namespace corvane::platform
