// The shape of the exported classes: programs are compiled against it.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "facade/DBZydata.h"
#include "tests/support/TestSupport.h"
#include "zydata/schema/TypeRegistry.h"
#include "zydata/tables/ClassSchema.h"

namespace Mesh2DPlat {
namespace {

static_assert(std::is_abstract_v<DBInterface> && !std::is_abstract_v<DBZydata>);
static_assert(!std::has_virtual_destructor_v<DBInterface> && !std::has_virtual_destructor_v<DBZydata>);
static_assert(std::is_base_of_v<DBInterface, DBZydata> && sizeof(DBZydata) == sizeof(DBInterface));
static_assert(sizeof(DBInterface) == sizeof(void*) + sizeof(std::string), "one table of operations and one text");
static_assert(std::is_constructible_v<DBZydata, std::string> && std::is_copy_constructible_v<DBZydata> &&
              std::is_copy_assignable_v<DBZydata>);

/// The place in the table of operations; a pointer to a virtual member is 1 plus its offset there.
template <class Result, class... Arguments>
std::size_t place(Result (DBInterface::*operation)(Arguments...)) {
  std::ptrdiff_t words[2];
  static_assert(sizeof operation == sizeof words);
  std::memcpy(words, &operation, sizeof words);
  EXPECT_EQ(words[0] % 2, 1) << "not virtual";
  return static_cast<std::size_t>(words[0] - 1) / sizeof(void*);
}

template <class... Arguments>
std::size_t write_place() {
  return place<void, Arguments...>(&DBInterface::write);
}
template <class... Arguments>
std::size_t read_place() {
  return place<bool, Arguments...>(&DBInterface::read);
}

// DBZydata overrides them all, and the compiler sees that it has no other ones.
TEST(Interface, KeepsTheOrderOfItsOperations) {
  using Nets = const Table<int, EM2DNet>&;
  using Layers = const Table<int, EM2DLayer>&;
  using LayerNames = const Table<std::string, EM2DLayer>&;
  using Vertices = const Table<int, EM2DVertex>&;
  using ViaNames = const Table<std::string, EM2DVia>&;
  using MeshIds = std::vector<std::map<EM2DVia*, int>>;
  using Shapes = std::vector<EM2DShape*>;
  const std::vector<std::size_t> places{place<bool, SImesh2D*, const MeshIds&, const Shapes&>(&DBInterface::write),
                                        write_place<const std::vector<EM2DPolyVia*>&>(),
                                        write_place<const std::vector<EM2DCircuit*>&>(),
                                        write_place<const std::vector<EM2DTrace*>&>(),
                                        write_place<const std::vector<EM2DVia*>&>(),
                                        write_place<const Shapes&, const std::string&>(),
                                        write_place<const std::vector<EM2DSignal*>&>(),
                                        write_place<const std::vector<EM2DLayer*>&>(),
                                        write_place<const std::vector<EM2DVertex*>&>(),
                                        write_place<const std::vector<EM2DNet*>&>(),
                                        write_place<SImeshConfig*>(),
                                        read_place<SImesh2D*, ViaTable&, Layers, Nets, ViaNames, Shapes*, MeshIds*>(),
                                        read_place<std::vector<EM2DCircuit*>&, Vertices>(),
                                        read_place<std::vector<EM2DTrace*>&, Nets, Vertices>(),
                                        read_place<std::vector<EM2DVia*>&, Nets, Vertices>(),
                                        read_place<Shapes&, Layers, Nets, const std::string&>(),
                                        read_place<std::vector<EM2DVertex*>&, Layers, LayerNames>(),
                                        read_place<std::vector<EM2DSignal*>&, Layers>(),
                                        read_place<std::vector<EM2DLayer*>&>(),
                                        read_place<std::vector<EM2DNet*>&>(),
                                        read_place<SImeshConfig*>(),
                                        place(&DBInterface::writeNegPolyMesh),
                                        place(&DBInterface::readNegPolyMesh),
                                        place(&DBInterface::save),
                                        place(&DBInterface::openem)};
  ASSERT_EQ(places.size(), 25u);
  for (std::size_t i = 0; i < places.size(); ++i) EXPECT_EQ(places[i], i);
}

const std::vector<std::string> kRows{
    "EM2DPin",         "EM2DCircuitProxy", "EM2DLayerProxy",   "EM2DNetProxy",     "EM2DSignalProxy", "EM2DTraceProxy",
    "EM2DVertexProxy", "EM2DViaProxy",     "EM2DPolyViaProxy", "EM2DShapeProxy",   "MeshNodeProxy",   "MeshEdgeProxy",
    "MeshFaceProxy",   "MeshPolygonProxy", "MeshLayerProxy",   "MeshMediumProxy",  "MeshMetalProxy",  "MeshViaProxy",
    "ViaMeshProxy",    "SpecialVoidProxy", "MAShapeProxy",     "EMMeshVertexProxy"};

TEST(RowStructures, AreRegisteredWithTheirMembersInTheOrderOfTheColumns) {
  const DBZydata db("unused");
  const DBZydata again("unused");
  const char structure[256]{};
  for (const std::string& name : kRows) {
    const std::string type = "Mesh2DPlat::" + name;
    for (const std::uint32_t kind : {0x0u, 0x1u, 0x8u, 0x10u, 0x1008u}) {
      EXPECT_EQ(ZyData::find_factory(type, kind | 0x40000)->kind(), kind);
    }
    const auto& schema = dynamic_cast<const ZyData::ClassSchemaBase&>(ZyData::find_class_schema(type));
    EXPECT_EQ(schema.type_name(), type);
    const void* last = nullptr;
    for (std::size_t i = 0; i < schema.fields().size(); ++i) {
      const void* member = schema.access(i).address(structure);
      if (name == "EM2DTraceProxy" && schema.fields()[i]->name() == "option") {
        EXPECT_EQ(member, last) << "the column is bound to the end vertex";
      } else {
        EXPECT_LT(last, member) << name << "." << schema.fields()[i]->name();
      }
      last = member;
    }
  }
  for (const char* name : {"EM2DNetProxy::eType", "EM2DShapeProxy::eType", "EM2DPolyViaProxy::ePolyType"}) {
    EXPECT_EQ(ZyData::find_factory(std::string("Mesh2DPlat::") + name, 0x1001)->kind(), 0x1001u);
  }
}

}  // namespace
}  // namespace Mesh2DPlat
