// Machine.h -- this computer, this process, new identifiers.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvane::platform {

// This computer's name without its domain, upper case, at most 255 bytes. Read once.
[[nodiscard]] const std::string& ComputerName();
// The path of the running program and of what it was started with.
[[nodiscard]] std::string ProgramPath();
[[nodiscard]] std::int32_t CurrentProcessId();
// A variable of the environment; nothing when it isn't set.
[[nodiscard]] std::optional<std::string> EnvironmentVariable(const char* name);

// 16 bytes of a new random identifier (version 4), in the order in which their hexadecimal text
// reads.
[[nodiscard]] std::array<std::uint8_t, 16> NewIdentifier();

// Resident memory of this process and its high-water mark in KB, for reports.
[[nodiscard]] std::uint64_t PeakResidentKb();

}  // namespace corvane::platform
