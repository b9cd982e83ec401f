// ServiceNames.h -- what the service is called.
#pragma once

#include <cstdint>

namespace corvane {

inline constexpr const char* kServiceName = "CVPOCS";
inline constexpr const char* kServiceDisplayName = "Corvane Postoffice Connector";
inline constexpr const char* kProgramName = "CorvanePOConnector";

// Entries of the event log about the service manager.
inline constexpr const char* kServiceManagerSource = "Service Control Manager";
inline constexpr std::uint32_t kServiceManagerEventId = 1;

}  // namespace corvane
