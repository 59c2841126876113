// A text that never changes: copies share its characters, so that the nodes of a schema take the room of their distinct
// texts only.
#pragma once

#include <memory>
#include <string>
#include <utility>

namespace ZyData {

class SharedText {
 public:
  SharedText() = default;
  SharedText(std::string text) : d_text(std::make_shared<const std::string>(std::move(text))) {}
  SharedText(const char* text) : SharedText(std::string(text)) {}

  /// Valid as long as a copy of this text lives.
  const std::string& str() const {
    static const std::string none;
    return d_text == nullptr ? none : *d_text;
  }
  operator const std::string&() const { return str(); }
  const char* c_str() const { return str().c_str(); }

 private:
  std::shared_ptr<const std::string> d_text;  // null: ""
};

}  // namespace ZyData
