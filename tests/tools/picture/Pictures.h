// Pictures that the program has drawn, looked at with the eyes of a real renderer and a real XML reader.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/ProgramRun.h"

/// Colours of pictures, as users know them.
inline constexpr const char* kPanel = "#1a232d";
inline constexpr const char* kLargestNet = "#4b93f7";
inline constexpr const char* kSecondNet = "#f39237";

class Pictures : public testing::Test {
 protected:
  void SetUp() override {
    if (run_command(folder, "rsvg-convert --version").status != 0)
      GTEST_SKIP() << "rsvg-convert is not installed (Debian: librsvg2-bin)";
  }

  /// `render FILE picture.svg OPTIONS`, which must succeed, and what is to be seen; `points` in millimetres: "1.5,2".
  nlohmann::json picture_of(const std::string& file, const std::string& options = "",
                            const std::vector<std::string>& points = {}) {
    const std::string svg = folder.path("picture.svg"), png = folder.path("picture.png");
    const ProgramRun render = run(folder, "render '" + file + "' " + svg + " " + options);
    EXPECT_EQ(render.status, 0) << render.err;
    const ProgramRun draw = run_command(folder, "rsvg-convert " + svg + " -o " + png);
    EXPECT_EQ(draw.status, 0) << draw.err;
    std::string look = std::string(CORVANE_LOOK) + " " + svg + " " + png;
    for (const std::string& point : points) look += " " + point;
    const ProgramRun seen = run_command(folder, look);
    EXPECT_EQ(seen.status, 0) << seen.err;
    const nlohmann::json picture = nlohmann::json::parse(seen.out);
    const std::string size = to_string(picture["width"]) + " x " + to_string(picture["height"]) + " px, ";
    EXPECT_TRUE(render.out.starts_with(svg + ": " + size) && render.out.ends_with("\n")) << render.out;
    contents = render.out.substr(svg.size() + 2 + size.size());
    contents.pop_back();
    return picture;
  }

  /// The message of a `render` that must fail, without the program's name and the end of the line.
  std::string refusal_of(const std::string& arguments) {
    const ProgramRun failed = run(folder, "render " + arguments);
    EXPECT_EQ(failed.status, 1) << arguments;
    EXPECT_EQ(failed.out, "") << arguments;
    EXPECT_TRUE(failed.err.starts_with("corvane: ") && failed.err.ends_with("\n")) << failed.err;
    return failed.err.size() < 10 ? failed.err : failed.err.substr(9, failed.err.size() - 10);
  }

  const TestSupport::TempDir folder;
  std::string contents;  // what the last picture holds, as the program says
};
