// BuildPlaces.h -- where the build has put the things that tests use.
#pragma once

#include <filesystem>
#include <string>

#include "tests/support/RunProgram.h"

namespace corvane::test {

// The build directory: programs lie in bin/, the shipped libraries in lib64/.
[[nodiscard]] inline std::string BuildDirectory() {
  return std::filesystem::path(ThisProgram()).parent_path().parent_path();
}

[[nodiscard]] inline std::string ProgramFile(const std::string& name) {
  return BuildDirectory() + "/bin/" + name;
}

// "Application Directory" of the shipped libraries, and of a variant of the stub (tests/stubs).
[[nodiscard]] inline std::string ShippedLibraries() { return BuildDirectory() + "/lib"; }
[[nodiscard]] inline std::string StubLibraries(const std::string& variant) {
  return BuildDirectory() + "/stubs/" + variant;
}

}  // namespace corvane::test
