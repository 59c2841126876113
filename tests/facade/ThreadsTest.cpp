// Threads with objects of their own do not disturb one another; the data-race checks run this, too.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "facade/LayoutProxies.h"
#include "mpsys/FileConnection.h"
#include "tests/support/TestSupport.h"
#include "zydata/keyed/Dict.h"
#include "zydata/message/FileProbe.h"
#include "zydata/message/serialize.h"
#include "zydata/tables/Frame.h"
#include "zydata/tables/Record.h"

namespace {

using namespace ZyData;
using Mesh2DPlat::EM2DNetProxy;

/// Builds a tree, stores it and loads it. Returns what is wrong with the loaded one.
std::string work(const std::string& path, int number) {
  const std::string name = "net " + std::to_string(number);
  const auto root = make_record("own");
  root->add_field("nets", EM2DNetProxy::class_schema());
  root->add_field("ids", make_schema<int>("ids", kKindDict));
  for (int i = 0; i < 20; ++i) root->get<Frame<EM2DNetProxy>>("nets")->append({number + i, {}, name});
  root->get<Dict<int>>("ids")->set(name, number);
  MPSys::FileConnection out(path.c_str(), MPSys::FileMode::writing);
  sendDataObject(out, root);
  out.close();
  root->clear_hierarchy();
  if (probe_file(path).node_count < 5) return "nodes";
  MPSys::FileConnection in(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<DataObj> loaded;
  if (!receiveDataObject(in, loaded)) return "nothing received";
  const auto ids = loaded->find_path("nets/id")->to_id_vector();
  const bool good = ids.size() == 20 && ids[19] == number + 19 && loaded->get<Dict<int>>("ids")->get(name) == number &&
                    loaded->find_path_or_null("nets/missing") == nullptr;
  const std::string text = TestSupport::error_text([&] { loaded->find_path("missing"); });
  loaded->clear_hierarchy();
  return good && text.find("does not have a field") != std::string::npos ? "" : "content of " + name;
}

TEST(Threads, MayWorkAtOnceOnTreesOfTheirOwn) {
  const TestSupport::TempDir folder;
  Mesh2DPlat::register_layout_types();
  std::vector<std::string> wrong(2);
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&, t] {
      const auto at = static_cast<std::size_t>(t);
      const std::string path = folder.path(std::to_string(t));
      for (int i = 0; i < 100 && wrong[at].empty(); ++i) wrong[at] = work(path, 1000 * t + i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, std::vector<std::string>(2));
}

}  // namespace
