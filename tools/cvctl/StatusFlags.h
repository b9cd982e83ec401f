// StatusFlags.h -- --enabled and --disabled of a command, and how a status is shown.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>

namespace corvane::cvctl {

struct StatusFlags {
  bool enabled = false;
  bool disabled = false;

  // One of the two, or neither.
  void AddTo(CLI::App* command) {
    CLI::Option* on = command->add_flag("--enabled", enabled, "in use");
    command->add_flag("--disabled", disabled, "kept, but out of use")->excludes(on);
  }
  [[nodiscard]] std::optional<std::int32_t> Status() const {
    if (!enabled && !disabled) return std::nullopt;
    return enabled ? 1 : 0;
  }
};

[[nodiscard]] inline const char* StatusWord(std::int32_t status) {
  return status == 1 ? "enabled" : "disabled";
}

}  // namespace corvane::cvctl
