// BuiltInPages.h -- single-byte code pages whose tables we bring ourselves.
#pragma once

namespace corvane {

// The characters of the bytes 80 to FF (128 of them) of a page that we bring; the lower half is
// ASCII. Null for any other page.
[[nodiscard]] const char16_t* BuiltInUpperHalf(int codePage);

}  // namespace corvane
