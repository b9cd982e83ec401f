#include "tests/support/Corpus.h"

#include <cstdlib>
#include <system_error>

namespace corvane::test {

std::filesystem::path CorpusFolder() {
  const char* named = std::getenv("CORVANE_CORPUS");
  std::filesystem::path folder = named != nullptr ? named : CORVANE_SOURCE_DIR "/../shared/corpus";
  std::error_code ignored;
  return std::filesystem::is_directory(folder / "messages", ignored) ? folder
                                                                     : std::filesystem::path();
}

}  // namespace corvane::test
