// Exception.h -- the product's own exception: a message and where it was thrown.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace corvane {

// As a std::exception its text is the description.
class Exception : public std::exception {
 public:
  explicit Exception(std::string message, std::string file = {}, std::int32_t line = 0);
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  ~Exception() override;

  [[nodiscard]] virtual const std::string& message() const { return Message; }
  [[nodiscard]] virtual const std::string& file() const { return File; }
  [[nodiscard]] virtual std::int32_t line() const { return Line; }
  // "<message> (<file>:<line>)"; file and line only when present.
  [[nodiscard]] virtual std::string description() const;

  [[nodiscard]] const char* what() const noexcept override { return what_.c_str(); }

  std::string Message;
  std::string File;
  std::int32_t Line;

 private:
  [[nodiscard]] std::string Describe() const;

  std::string what_;  // the description as it was thrown
};

}  // namespace corvane
