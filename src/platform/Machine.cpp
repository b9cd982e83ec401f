#include "platform/Machine.h"

#include <sys/random.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <random>

namespace corvane::platform {
namespace {

std::string ReadComputerName() {
  std::array<char, 256> buffer{};
  if (gethostname(buffer.data(), buffer.size() - 1) != 0) return "LOCALHOST";
  std::string name(buffer.data());
  name.resize(std::min(name.find('.'), name.size()));
  for (char& c : name) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return name.empty() ? "LOCALHOST" : name;
}

constexpr std::size_t kIdentifierBytes = 16;
constexpr std::size_t kIdentifiersAtOnce = 16;

// Random bytes for the next few identifiers of a thread.
struct RandomStock {
  std::array<std::uint8_t, kIdentifierBytes * kIdentifiersAtOnce> bytes{};
  std::size_t used = sizeof(bytes);
};

void Refill(RandomStock& stock) {
  std::size_t filled = 0;
  while (filled < stock.bytes.size()) {
    const ssize_t got = getrandom(stock.bytes.data() + filled, stock.bytes.size() - filled, 0);
    if (got > 0) {
      filled += static_cast<std::size_t>(got);
    } else if (errno != EINTR) {
      // A sandbox may forbid the call; the device behind random_device serves as well.
      std::random_device device;
      for (; filled < stock.bytes.size(); ++filled) {
        stock.bytes[filled] = static_cast<std::uint8_t>(device());
      }
    }
  }
  stock.used = 0;
}

}  // namespace

const std::string& ComputerName() {
  static const std::string* const name = new std::string(ReadComputerName());
  return *name;
}

std::string ProgramPath() {
  std::array<char, 4096> buffer{};
  const ssize_t length = readlink("/proc/self/exe", buffer.data(), buffer.size());
  return length > 0 ? std::string(buffer.data(), static_cast<std::size_t>(length)) : std::string();
}

std::int32_t CurrentProcessId() { return getpid(); }

std::optional<std::string> EnvironmentVariable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) return std::nullopt;
  return value;
}

std::array<std::uint8_t, 16> NewIdentifier() {
  thread_local RandomStock stock;
  if (stock.used + kIdentifierBytes > stock.bytes.size()) Refill(stock);
  std::array<std::uint8_t, kIdentifierBytes> identifier;
  std::memcpy(identifier.data(), stock.bytes.data() + stock.used, identifier.size());
  stock.used += kIdentifierBytes;
  identifier[6] = static_cast<std::uint8_t>((identifier[6] & 0x0F) | 0x40);
  identifier[8] = static_cast<std::uint8_t>((identifier[8] & 0x3F) | 0x80);
  return identifier;
}

std::uint64_t PeakResidentKb() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::uint64_t>(usage.ru_maxrss);
}

}  // namespace corvane::platform
