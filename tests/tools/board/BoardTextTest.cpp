// Words, lists and numbers of board text, and what is said of text that is no board.
#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/tools/board/BoardTexts.h"
#include "tools/corvane/board/BoardNumbers.h"
#include "tools/corvane/board/SExpression.h"

using namespace CorvaneTool;
using BoardTexts::board_error;
using BoardTexts::two_layer_text;

namespace {

constexpr int kVersion = 20241229;

TEST(BoardText, OnlyQuotedWordsHaveEscapes) {
  const SourceText text("t", R"((kicad_pcb /Supply/\~PWR_SET~ "a\"b\\c\n\x41\101\q" "" say"what"))");
  const Tree tree(text, "kicad_pcb");
  EXPECT_EQ(tree.root().atom(0).text(), R"(/Supply/\~PWR_SET~)");
  EXPECT_EQ(tree.root().atom(1).text(), "a\"b\\c\nAAq");
  EXPECT_EQ(tree.root().atom(2).text(), "");
  EXPECT_EQ(tree.root().atom(3).text(), "say\"what\"");
  EXPECT_FALSE(tree.root().atom(4));
}

TEST(BoardText, ListsAreAskedForTheirOwnChildrenOnly) {
  const SourceText text("t", "(kicad_pcb\r\n\t(a (layer inner) ((x)) ()) word\r\n\t(layer outer) \"locked\" )\r\n");
  const Tree tree(text, "kicad_pcb");
  const Item root = tree.root();
  EXPECT_EQ(root.find("layer").atom(0).word(), "outer");
  EXPECT_EQ(root.find("a").find("layer").atom(0).word(), "inner");
  EXPECT_FALSE(root.find("x"));
  EXPECT_FALSE(root.find("missing").find("layer").atom(0));
  EXPECT_TRUE(root.has_word("word"));
  EXPECT_FALSE(root.has_word("locked")) << "a quoted word is a text";
}

TEST(BoardText, EmbeddedDataIsOneWord) {
  const SourceText text("t", "(kicad_pcb (file (data |KLUv(/\n\"QBY=|) (name |x)))");
  const Tree tree(text, "kicad_pcb");
  EXPECT_EQ(tree.root().find("file").find("data").atom(0).word(), "KLUv(/\n\"QBY=");
  EXPECT_EQ(tree.root().find("file").find("name").atom(0).word(), "|x");
}

TEST(BoardText, TheForgottenParenthesisIsAddedAndCounted) {
  const std::string zone = "(zone (net 1) (layer F.Cu) (attr (teardrop (curved_edges no)filter_ratio 0.9))))";
  const Board board =
      BoardTexts::two_layer_board(kVersion, zone + zone + "(via (at 1 1) (drill 0.3) (layers F.Cu B.Cu) (net 2))");
  EXPECT_EQ(board.repaired_parentheses, 2u);
  EXPECT_EQ(board.vias.size(), 1u);
  EXPECT_EQ(
      BoardTexts::two_layer_board(kVersion, "(zone (layer F.Cu) (curved_edges no) filter_ratio)").repaired_parentheses,
      0u);
}

TEST(BoardText, NestingHasALimit) {
  const auto nested = [](std::size_t lists) {
    return "(kicad_pcb " + std::string(lists, '(') + std::string(lists, ')') + ")";
  };
  const SourceText deep("t", nested(Tree::kDeepest - 1));
  EXPECT_EQ(Tree(deep, "kicad_pcb").nodes().size(), Tree::kDeepest);
  EXPECT_EQ(board_error(nested(Tree::kDeepest)), "b.kicad_pcb:1:267: lists nested deeper than 256");
}

const std::string kHead = "(kicad_pcb (version 20241229) (layers (0 F.Cu signal) (2 B.Cu signal)) (net 0 \"\")\n";

TEST(BoardText, WhatIsWrongIsReportedWithItsPlace) {
  const std::string empty = "not a board: the file is empty",
                    other = "not a board: it does not begin with \"(kicad_pcb\"";
  std::vector<BoardTexts::Case> table = BoardTexts::cases("wrong.txt");
  table.insert(table.end(), {{0, "", "1:1: " + empty},
                             {0, " \r\n", "2:1: " + empty},
                             {0, "PK\x03\x04", "1:1: " + other},
                             {0, "\n(kicad_sch (version 1))", "2:1: " + other}});
  for (const auto& [version, text, message] : table)
    EXPECT_EQ(board_error(text.starts_with('@') ? kHead + text.substr(1) : text), "b.kicad_pcb:" + message);
}

TEST(BoardText, EveryCutIsAnError) {
  const std::string text =
      two_layer_text(kVersion,
                     "(footprint \"x\" (at 1 2 90) (pad \"1\" smd rect (at 0 0) (size 1 1) (layers \"F.Cu\")))\n(zone "
                     "(net 1) (layer F.Cu)"
                     "(filled_polygon (pts (xy 0 0) (xy 1 0) (arc (start 1 0) (mid 2 1) (end 1 2)))))");
  ASSERT_EQ(board_error(text), "<nothing thrown>");
  const std::size_t end = text.rfind(')');
  for (std::size_t size = 0; size <= end; ++size) {
    const std::string message = board_error(std::string(text.data(), size));
    EXPECT_TRUE(message.starts_with("b.kicad_pcb:")) << "cut to " << size << " bytes: " << message;
  }
}

TEST(BoardText, MessagesStayOneReadableLine) {
  EXPECT_EQ(board_error(kHead + "(segment (layer \"a\nb\x1b[2J\")))"),
            R"(b.kicad_pcb:2:17: segment on unknown layer "a\x0ab\x1b[2J")");
  const std::string message = board_error(kHead + "(segment (layer " + std::string(5000, 'x') + ")))");
  EXPECT_EQ(message.size(), std::string("b.kicad_pcb:2:17: ").size() + 199 + 3) << message;
}

TEST(BoardText, AFileThatCannotBeReadIsNamed) {
  try {
    SourceText::read_file("/nowhere/b.kicad_pcb");
    FAIL();
  } catch (const BoardError& error) {
    EXPECT_EQ(std::string(error.what()), "/nowhere/b.kicad_pcb: cannot be read: No such file or directory");
  }
}

TEST(BoardNumbers, LengthsAreExactToTheNanometre) {
  std::istringstream table(
      "0=0 -0=0 1=1000000 -1.5=-1500000 123.456789=123456789 0.000001=1 .5=500000 2.=2000000 0.1234565=123457 "
      "-0.0000005=-1 1e-05=10 1.5E1=15000000 999999999.999999=999999999999999");
  for (std::string entry; table >> entry;) {
    const std::size_t equals = entry.find('=');
    EXPECT_EQ(parse_nanometres(entry.substr(0, equals)), std::stoll(entry.substr(equals + 1))) << entry;
  }
  for (const char* text : {"1000000001", "1e300", "nan", "inf", "", "-", ".", "1.2.3", "0x10", "1 ", "--1"})
    EXPECT_EQ(parse_nanometres(text), std::nullopt) << text;
}

}  // namespace
