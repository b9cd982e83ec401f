#include "platform/Library.h"

#include <dlfcn.h>

#include <utility>

#include "platform/Error.h"
#include "platform/Path.h"

namespace corvane::platform {
namespace {

// "CVAIPO.DLL" is the file "CVAIPO.so"; a name without that ending gets ".so" too.
std::string FileNameOf(std::string_view productName) {
  constexpr std::string_view kEnding = ".DLL";
  if (productName.size() >= kEnding.size() &&
      EqualsNoCase(productName.substr(productName.size() - kEnding.size()), kEnding)) {
    productName.remove_suffix(kEnding.size());
  }
  return std::string(productName) + ".so";
}

void TellWhy(std::string* why, const char* text) {
  if (why != nullptr) *why = text != nullptr ? text : "unknown error of the loader";
}

}  // namespace

Library::~Library() { Unload(); }

Library::Library(Library&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}

Library& Library::operator=(Library&& other) noexcept {
  if (this != &other) {
    Unload();
    handle_ = std::exchange(other.handle_, nullptr);
  }
  return *this;
}

Library Library::Load(std::string_view directory, std::string_view name, std::string* why) {
  Library library;
  if (directory.empty()) {
    // The loader would search the system's own directories for a bare name.
    TellWhy(why, "the library directory isn't set");
    SetLastError(kErrorModuleNotFound);
    return library;
  }
  const std::string path = ResolvePath(JoinPath(directory, FileNameOf(name)));
  library.handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library.handle_ == nullptr) {
    TellWhy(why, dlerror());
    SetLastError(kErrorModuleNotFound);
  }
  return library;
}

void* Library::Find(const char* symbol) const {
  void* address = handle_ != nullptr ? dlsym(handle_, symbol) : nullptr;
  if (address == nullptr) SetLastError(kErrorProcedureNotFound);
  return address;
}

void Library::Unload() {
  if (handle_ != nullptr) dlclose(std::exchange(handle_, nullptr));
}

}  // namespace corvane::platform
