// CVAISP.cpp -- the store provider.
//
// It loads, begins and ends. Direct insertion into a folder's index isn't in this build: the answer
// is 0, "not inserted", after which the message lies in its folder all the same and the folder's
// next reader takes it into the index. The operations on open folders and items are not exported.
#include <cstdint>

extern "C" {

[[gnu::visibility("default")]] std::int32_t StoreLibrary_Init() { return 1; }

[[gnu::visibility("default")]] std::int32_t StoreLibrary_UnInit() { return 1; }

[[gnu::visibility("default")]] std::int32_t Direct_StoreIndex_InsertItem(const char* /*postoffice*/,
                                                                         const char* /*mailbox*/,
                                                                         const char* /*folder*/,
                                                                         const char* /*item*/) {
  return 0;
}

}  // extern "C"
