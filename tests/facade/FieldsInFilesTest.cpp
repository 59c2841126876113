// A database or mesh whose file names other files is refused before any of them is opened.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "facade/DBZydata.h"
#include "model/SImesh2D.h"
#include "mpsys/FileConnection.h"
#include "tests/support/TestSupport.h"
#include "zydata/message/serialize.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/Schema.h"
#include "zydata/tables/Factories.h"

namespace {

using namespace ZyData;

/// Stores a database with one table, or one record field, of mapped elements. Their files are removed afterwards.
void save_database_with(std::shared_ptr<Schema> field, bool in_table, const TestSupport::TempDir& folder) {
  const auto schema = make_record_schema("db");
  const auto root = schema->factory()->create_from(schema);
  if (in_table) root->add_field("table", make_frame_schema("table"));
  (in_table ? root->find_path("table") : root)->add_field(field->name(), field);
  MPSys::FileConnection connection(folder.path("db.zydat").c_str(), MPSys::FileMode::writing);
  sendDataObject(connection, root);
  connection.close();
  root->clear_hierarchy();  // a linked tree keeps itself, and its files, alive
}

TEST(FieldsInFiles, AreRefusedBeforeAnyFileIsOpened) {
  const TestSupport::TempDir folder;
  const std::string file = folder.path("victim");
  struct Case {
    std::shared_ptr<Schema> field;
    std::string description;
  };
  const Case cases[] = {
      {make_mapped_schema<int, 0x21>("a", file), "a\" of kind 0x21 [mmap array]"},
      {make_mapped_schema<double, 0x1021>("b", file, 0.5), "b\" of kind 0x1021 [defaulted mmap array]"},
      {make_mapped_schema<char, 0x40>("c", file), "c\" of kind 0x40 [mmap_var_array]"},
  };
  const std::ptrdiff_t descriptors = TestSupport::open_descriptors();
  for (const Case& test : cases) {
    for (const bool in_table : {false, true}) {
      save_database_with(test.field, in_table, folder);
      for (const char* part : {"", ".offsets", ".values"}) std::filesystem::remove(file + part);
      Mesh2DPlat::DBZydata db(folder.path());
      db.openem(false, "open");
      const std::string refusal =
          "field \"" + test.description + " keeps its elements in another file: no database can have it";
      EXPECT_ERROR(db.openem(true, "db"), refusal);
      std::filesystem::rename(folder.path("db.zydat"), folder.path("corvane2d.zydat"));
      Mesh2DPlat::SImesh2D mesh;
      Mesh2DPlat::ViaTable vias;
      EXPECT_ERROR(db.read(&mesh, vias), refusal);
      EXPECT_ERROR(db.readNegPolyMesh(&mesh, nullptr), refusal);
      EXPECT_TRUE(db.save("open")) << "what was open stays open";
      for (const char* part : {"", ".offsets", ".values"}) EXPECT_FALSE(std::filesystem::exists(file + part));
      EXPECT_EQ(TestSupport::open_descriptors(), descriptors);
    }
  }
}

}  // namespace
