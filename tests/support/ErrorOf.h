// ErrorOf.h -- the error of a call that answers with success or failure.
#pragma once

#include <cstdint>

#include "platform/Error.h"

namespace corvane::test {

// 0 when the call succeeded, else the error that it left: ErrorOf(DeleteFile(path)).
template <typename Result>
std::int32_t ErrorOf(const Result& result) {
  return result ? 0 : platform::LastError();
}

}  // namespace corvane::test
