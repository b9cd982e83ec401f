// ElementWriter.h -- one item as the element that an index file has of it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexType/IndexItemPropertyContainer.h"

namespace corvane {

// The order of the properties is that of the names that the process knew when this was made. One
// thread.
class ElementWriter {
 public:
  explicit ElementWriter(std::int32_t messageClass);
  // The element, good until the next call.
  [[nodiscard]] const std::string& Write(const IndexItemPropertyContainer& item);

 private:
  struct Property {
    std::string name;
    PropertyId id;
    bool whole;  // written with all that a text of any kind needs
  };

  std::vector<Property> properties_;  // in byte order of the names
  bool validUtf8_;
  std::string element_;
};

}  // namespace corvane
