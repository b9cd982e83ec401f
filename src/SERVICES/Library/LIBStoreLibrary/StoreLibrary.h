// StoreLibrary.h -- the store provider, CVAISP.DLL: a wrapper Lib_<name> for each of its exports.
//
// The first call of any wrapper binds the library, once, from the library directory. A library that
// can't be loaded makes every wrapper return 0; a missing export makes its own wrapper return 0.
// Lib_StoreLibrary_UnInit frees the library: calls that run finish in it, later ones return 0 until
// Lib_StoreLibrary_Init binds it anew. Any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>

#include "SERVICES/Library/LIBStoreLibrary/StoreExports.h"

namespace corvane {

inline constexpr const char* kStoreProvider = "CVAISP.DLL";

// Begins the use of the library on the calling thread. 1 on success.
std::int32_t Lib_StoreLibrary_Init();
// Ends it and frees the library.
std::int32_t Lib_StoreLibrary_UnInit();

// Puts a message file into its folder's index. 1: it stands there. With an index item that the
// caller has made already, Direct_StoreIndex_InsertItemEx takes it over where that is exported. An
// exception of the library is reported and gives 0.
std::int32_t Lib_Direct_StoreIndex_InsertItem(const char* postoffice, const char* mailbox,
                                              const char* folder, const char* item,
                                              void* indexItem = nullptr);

namespace store {

class BoundLibrary;

// The bound library for the length of a call, or null. Binds at first use.
[[nodiscard]] std::shared_ptr<const BoundLibrary> Hold();
// The address of an export, or null.
[[nodiscard]] void* Slot(const BoundLibrary& library, StoreExport slot);

template <typename Argument>
inline constexpr bool kPassesToC =
    std::is_pointer_v<Argument> || std::is_integral_v<Argument> || std::is_null_pointer_v<Argument>;

// Calls an export with the arguments as they stand; 0 when it isn't there.
template <typename Result, typename... Arguments>
Result Forward(StoreExport slot, Arguments... arguments) {
  static_assert((kPassesToC<Arguments> && ...), "exports are plain C functions");
  const auto library = Hold();
  if (!library) return Result{};
  auto* call = reinterpret_cast<Result (*)(Arguments...)>(Slot(*library, slot));
  return call == nullptr ? Result{} : call(arguments...);
}

}  // namespace store

// The wrappers of the exports that the connector itself doesn't call. Their parameters are the
// library's business: the types of the arguments are the types that it is called with.
#define CORVANE_STORE_WRAPPER(name, result)                         \
  template <typename... Arguments>                                  \
  result Lib_##name(Arguments... arguments) {                       \
    return store::Forward<result>(StoreExport::name, arguments...); \
  }
#define CORVANE_STORE_NO_WRAPPER(name)
CORVANE_STORE_EXPORTS(CORVANE_STORE_WRAPPER, CORVANE_STORE_NO_WRAPPER)
#undef CORVANE_STORE_NO_WRAPPER
#undef CORVANE_STORE_WRAPPER

}  // namespace corvane
