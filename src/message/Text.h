// Text.h -- a piece of text that shares the buffer it lies in.
//
// Parts of a message are pieces of the one buffer that holds the message, so that nothing is copied
// in parsing and a part may outlive the message it came from. A piece never changes; assigning
// another text makes it a piece of that one. Pieces of one buffer may be used by several threads.
#pragma once

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

namespace corvane {

class Text {
 public:
  Text() = default;
  // A text with a buffer of its own.
  Text(std::string text) {  // NOLINT: meant to convert
    if (text.empty()) return;
    buffer_ = std::make_shared<const std::string>(std::move(text));
    view_ = *buffer_;
  }
  Text(const char* text) : Text(std::string(text)) {}  // NOLINT: meant to convert
  explicit Text(std::string_view text) : Text(std::string(text)) {}

  // A text that lives as long as the program, without a buffer.
  template <std::size_t N>
  [[nodiscard]] static Text Literal(const char (&text)[N]) {
    Text literal;
    literal.view_ = std::string_view(text, N - 1);
    return literal;
  }

  // The piece that `view`, which lies in this text, looks at.
  [[nodiscard]] Text Piece(std::string_view view) const {
    Text piece;
    if (view.empty()) return piece;
    piece.buffer_ = buffer_;
    piece.view_ = view;
    return piece;
  }

  operator std::string_view() const { return view_; }  // NOLINT: meant to convert
  [[nodiscard]] std::string_view View() const { return view_; }
  [[nodiscard]] std::string String() const { return std::string(view_); }
  [[nodiscard]] bool empty() const { return view_.empty(); }
  [[nodiscard]] std::size_t size() const { return view_.size(); }

  friend bool operator==(const Text& a, std::string_view b) { return a.view_ == b; }
  friend std::ostream& operator<<(std::ostream& out, const Text& text) { return out << text.view_; }

 private:
  std::shared_ptr<const std::string> buffer_;
  std::string_view view_;
};

}  // namespace corvane
