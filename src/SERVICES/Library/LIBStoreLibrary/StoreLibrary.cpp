#include "SERVICES/Library/LIBStoreLibrary/StoreLibrary.h"

#include <array>
#include <mutex>
#include <utility>

#include "connector/logs/ExceptionReport.h"
#include "connector/settings/SettingsSource.h"
#include "platform/Library.h"

namespace corvane {
namespace store {

class BoundLibrary {
 public:
  explicit BoundLibrary(platform::Library library) : library_(std::move(library)) {
    for (std::size_t i = 0; i < kStoreExportCount; ++i) {
      slots_[i] = library_.Find(kStoreExportNames[i]);
    }
  }
  [[nodiscard]] void* Slot(StoreExport slot) const {
    return slots_[static_cast<std::size_t>(slot)];
  }

 private:
  platform::Library library_;
  std::array<void*, kStoreExportCount> slots_{};
};

namespace {

// The binding of this process. Never destroyed: workers may still call while the process ends.
struct Binding {
  std::mutex mutex;
  std::shared_ptr<const BoundLibrary> library;
  bool tried = false;
};
Binding& binding = *new Binding;

std::shared_ptr<const BoundLibrary> Bind() {
  char directory[1024];
  settings::GetLibraryDirectory(directory, sizeof directory);
  platform::Library library = platform::Library::Load(directory, kStoreProvider);
  if (!library.IsLoaded()) return nullptr;
  return std::make_shared<const BoundLibrary>(std::move(library));
}

void ForgetFailedBinding() {
  std::lock_guard lock(binding.mutex);
  if (!binding.library) binding.tried = false;
}

}  // namespace

std::shared_ptr<const BoundLibrary> Hold() {
  std::lock_guard lock(binding.mutex);
  if (!binding.tried) {
    binding.tried = true;
    binding.library = Bind();
  }
  return binding.library;
}

namespace {

// Calls that begin from now on find no library; those that run keep theirs.
std::shared_ptr<const BoundLibrary> TakeLast() {
  std::shared_ptr<const BoundLibrary> last = Hold();
  std::lock_guard lock(binding.mutex);
  binding.library.reset();
  return last;
}

}  // namespace

void* Slot(const BoundLibrary& library, StoreExport slot) { return library.Slot(slot); }

}  // namespace store

std::int32_t Lib_StoreLibrary_Init() {
  store::ForgetFailedBinding();
  return store::Forward<std::int32_t>(StoreExport::StoreLibrary_Init);
}

std::int32_t Lib_StoreLibrary_UnInit() {
  const auto last = store::TakeLast();
  if (!last) return 0;
  auto* end = reinterpret_cast<std::int32_t (*)()>(last->Slot(StoreExport::StoreLibrary_UnInit));
  return end == nullptr ? 0 : end();
}

std::int32_t Lib_Direct_StoreIndex_InsertItem(const char* postoffice, const char* mailbox,
                                              const char* folder, const char* item,
                                              void* indexItem) {
  std::int32_t result = 0;
  const auto insert = [&] {
    if (indexItem != nullptr) {
      const auto library = store::Hold();
      if (library && library->Slot(StoreExport::Direct_StoreIndex_InsertItemEx) != nullptr) {
        result = store::Forward<std::int32_t>(StoreExport::Direct_StoreIndex_InsertItemEx,
                                              postoffice, mailbox, folder, item, indexItem);
        return;
      }
    }
    result = store::Forward<std::int32_t>(StoreExport::Direct_StoreIndex_InsertItem, postoffice,
                                          mailbox, folder, item);
  };
  const SourcePlace place = CV_HERE;
  const bool ended = EndException(insert, [&](const ExceptionDetails& details) {
    ReportException(FormatExceptionReport("Lib_Direct_StoreIndex_InsertItem", place, details));
  });
  return ended ? result : 0;
}

}  // namespace corvane
