// ExportGuard.h -- the edge of a provider library: no exception leaves an export.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "platform/Reports.h"

namespace corvane {

// Runs the body of an export; an exception out of it goes to the debugger channel, and the caller
// gets `failure`.
template <typename Body>
std::int32_t GuardExport(const char* name, std::int32_t failure, Body&& body) noexcept {
  try {
    return body();
  } catch (const std::exception& error) {
    // A report that fails too would end the program; the answer matters more.
    try {
      platform::WriteDebugChannel(std::string(name) + ": " + error.what() + "\n");
    } catch (const std::exception&) {
    }
    return failure;
  }
}

}  // namespace corvane
