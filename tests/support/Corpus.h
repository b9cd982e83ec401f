// Corpus.h -- the folder of real messages, vCards and calendars, where it is there.
#pragma once

#include <filesystem>

namespace corvane::test {

// CORVANE_CORPUS, else the one beside the checkout; empty when there is none.
[[nodiscard]] std::filesystem::path CorpusFolder();

}  // namespace corvane::test
