#include "mpsys/Message.h"

#include <utility>

namespace MPSys {

void Message::attach(std::shared_ptr<ZyData::DataObj> object) {
  data = std::move(object);
  isData = 1;
}

NonDataMessageException::NonDataMessageException(const Message& received)
    : d_message(std::make_shared<const Message>(received)) {}

NonDataMessageException::~NonDataMessageException() = default;

const char* NonDataMessageException::what() const noexcept {
  return "failed to receive an zydata message when one was expected";
}

}  // namespace MPSys
