// ConnectorSettings.h -- the load at start: every value that is read once, and the paths and flags
// that follow from them.
//
// Called by the service host before the poller starts; everything here is only read afterwards.
// Before the load paths are empty and flags false. Paths are product paths.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace corvane::settings {

// Loads a provider library from the library directory: "CVAIPO.DLL" and the like; whether it could
// be loaded.
using ProviderLoader = std::function<bool(const char* libraryName)>;

// Reads all values of the rule Start, with console lines for a missing outbound queue and for the
// provider libraries, which it loads on the way. Clears the stop flag and the stopped flag at its
// end. Nothing that is missing stops it.
void LoadConnectorSettings(const ProviderLoader& loadProvider);

// "Connector Root Directory": the root of all queue directories.
[[nodiscard]] std::string ConnectorRootDirectory();
// "<root>\SF\Outgoing" for the moves to bad mail; its root may have a value of its own in the
// connector's key. Empty without a root.
[[nodiscard]] std::string OutboundMessageQueue();
// "Mail Root", or "Mail Root Directory" of the connector where that is absent or empty.
[[nodiscard]] std::string MailRoot();
// "Application Directory" with "64" appended; empty when it is not set.
[[nodiscard]] std::string LibraryDirectory();
// Whether the web client is the ASPX one.
[[nodiscard]] bool IsAspxWebmail();

// Part of ForgetSettings.
void ForgetConnectorPaths();

}  // namespace corvane::settings
