// FileOpen.cpp -- the five ways to open a file.
#include <cerrno>
#include <utility>

#include "platform/ClaimedFile.h"
#include "platform/Error.h"
#include "platform/File.h"
#include "platform/NewFile.h"
#include "platform/PathSearch.h"
#include "platform/ShareClaim.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {
namespace {

struct Request {
  Access access;
  Share share;
  Disposition disposition;
};

bool Makes(Disposition disposition) {
  return disposition == Disposition::kCreateAlways || disposition == Disposition::kOpenAlways;
}

bool Empties(Disposition disposition) {
  return disposition == Disposition::kCreateAlways || disposition == Disposition::kTruncateExisting;
}

std::int32_t OpenAt(const std::string& path, const Request& request, sys::Descriptor* result) {
  ClaimedFile file;
  const ClaimRequest claim{request.access, request.share, Makes(request.disposition)};
  const std::int32_t error = OpenClaimed(path, claim, &file);
  if (error != 0) return error;
  if (Empties(request.disposition) && file.state.st_size > 0 &&
      sys::Truncate(file.descriptor.Get(), 0) != 0) {
    return ErrorFromErrno(errno);
  }
  *result = std::move(file.descriptor);
  return 0;
}

// The file is claimed before it has a name, so nobody ever meets it free.
std::int32_t CreateAt(const std::string& path, const Request& request, sys::Descriptor* result) {
  NewFile file;
  std::int32_t error = NewFile::Make(path, &file);
  if (error != 0) return error;
  error = claim::Take(file.Get(), request.access, kShareNone, true);
  if (error == 0 && !claim::IsExclusive(request.share)) {
    error = claim::Relax(file.Get(), request.access, request.share);
  }
  if (error == 0) error = file.PlaceNew();
  if (error == 0) result->Reset(file.Release());
  return error;
}

std::int32_t OpenAny(std::string_view path, const Request& request, sys::Descriptor* result) {
  const auto open = [&](const std::string& at) { return OpenAt(at, request, result); };
  const auto create = [&](const std::string& at) { return CreateAt(at, request, result); };
  if (request.disposition == Disposition::kCreateNew) return OnCreationPath(path, create);
  return Makes(request.disposition) ? OnCreationPath(path, open) : OnExistingPath(path, open);
}

}  // namespace

File File::Open(std::string_view path, Access access, Share share, Disposition disposition) {
  File file;
  sys::Descriptor descriptor;
  if (Succeeded(OpenAny(path, {access, share, disposition}, &descriptor))) {
    file.descriptor_ = descriptor.Release();
    file.access_ = access;
    file.share_ = share;
  }
  return file;
}

}  // namespace corvane::platform
