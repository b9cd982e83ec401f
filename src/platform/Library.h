// Library.h -- libraries loaded at run time.
#pragma once

#include <string>
#include <string_view>

namespace corvane::platform {

// A loaded library; unloaded at its end. Any thread may look names up.
class Library {
 public:
  Library() = default;
  ~Library();
  Library(Library&& other) noexcept;
  Library& operator=(Library&& other) noexcept;

  // Loads `<directory>/<name>` where the product's name "CVAIPO.DLL" is the file "CVAIPO.so". Empty
  // on failure, with LastError 126 (missing, or not a library) and the loader's own words in `why`
  // when given.
  [[nodiscard]] static Library Load(std::string_view directory, std::string_view name,
                                    std::string* why = nullptr);

  [[nodiscard]] bool IsLoaded() const { return handle_ != nullptr; }
  // The address of an export, or null with LastError 127.
  [[nodiscard]] void* Find(const char* symbol) const;
  template <typename Function>
  [[nodiscard]] Function* Find(const char* symbol) const {
    return reinterpret_cast<Function*>(Find(symbol));
  }
  void Unload();

 private:
  void* handle_ = nullptr;
};

}  // namespace corvane::platform
