#include "zydata/message/serialize.h"

#include <string>
#include <string_view>
#include <utility>

#include "mpsys/FrameReceiver.h"
#include "zydata/object/MemoryData.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/Schema.h"
#include "zydata/schema/SchemaTable.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/LoadPlace.h"

namespace ZyData {
namespace {

std::shared_ptr<DataObj> view_of(const std::string& bytes, const std::shared_ptr<const SchemaTable>& owner) {
  // The message frame offers a writable address, but sending only reads from it.
  return std::make_shared<StaticMemoryData>(const_cast<char*>(bytes.data()), bytes.size(),
                                            std::const_pointer_cast<SchemaTable>(owner));
}

}  // namespace

MPSys::Message data_message(const std::shared_ptr<DataObj>& object) {
  MPSys::Message message;
  const std::shared_ptr<const SchemaTable> table = object->schema()->flattened();
  for (const std::string* area : {&table->nodes, &table->parameters, &table->strings}) {
    message.frames.push_back(view_of(*area, table));
  }
  object->vectorize(message.frames, object);
  message.attach(object);
  return message;
}

bool sendDataObject(MPSys::Connection& connection, const std::shared_ptr<DataObj>& object, std::uint32_t flags) {
  return connection.send(data_message(object), flags);
}

std::shared_ptr<DataObj> build_received_object(std::string_view nodes, std::string_view parameters,
                                               std::string_view strings) {
  SchemaTableReader reader(nodes, parameters, strings);
  try {
    const SchemaHeader header = reader.next();
    std::shared_ptr<Schema> schema = create_schema(header);
    schema->deserialize(reader, header);
    reader.check_everything_read();
    const ReceivedContent scope;
    return schema->factory()->create_from(schema);
  } catch (Util::Error& error) {
    const std::uint32_t nodes_begun = reader.next_index();
    error.set_offset(kNodeSize * (nodes_begun > 0 ? nodes_begun - 1 : 0));
    throw;
  }
}

void locate_frame(Util::Error& error, const DataObj& object, std::size_t frame) { enter_frame(error, object, frame); }

bool receiveDataObject(MPSys::Connection& connection, std::shared_ptr<DataObj>& object, std::int32_t* sender,
                       std::int32_t timeoutMs) {
  MPSys::Message message;
  if (!connection.receive(message, sender, timeoutMs)) return false;
  if (message.data == nullptr) throw MPSys::NonDataMessageException(message);
  message.data->build_traverse_hierarchy(message.data, message.data);
  message.data->on_attached(message.data);
  object = std::move(message.data);
  return true;
}

}  // namespace ZyData
