#include "zydata/schema/GenericType.h"

#include <utility>

#include "zydata/schema/GenericValue.h"

namespace ZyData {

GenericType::GenericType(std::string name) : d_name(std::move(name)) {}

GenericType::~GenericType() = default;

const char* GenericType::name() const { return d_name.c_str(); }

void GenericType::print_elements(std::ostream& stream, const GenericValue& value, std::size_t element_size,
                                 void (*print_element)(std::ostream&, const void*)) {
  if (value.is_scalar()) {
    print_element(stream, value.data());
    return;
  }
  const char* element = static_cast<const char*>(value.data());
  stream << '[';
  for (std::int64_t i = 0; i < value.size(); ++i, element += element_size) {
    if (i > 0) stream << ' ';
    print_element(stream, element);
  }
  stream << ']';
}

}  // namespace ZyData
