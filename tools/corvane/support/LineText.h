// Texts on their way to people. Names and words of a file may hold anything; a terminal obeys some of it.
//
// Everything that people read goes through here, wherever it is sent. Data formats (JSON, SVG, databases) keep texts as
// they are and escape by rules of their own.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace CorvaneTool {

/// Control characters, also those of Unicode beyond ASCII and those that change the direction of writing, and bytes
/// that are no UTF-8 as "\x1b", one escape per byte.
std::string printable(std::string_view text);

/// printable() of at most so many characters of the text; the last one is "…" when there were more.
std::string printable(std::string_view text, std::size_t characters);

/// printable() on one line: messages of the library put the system's text on a line of its own.
std::string one_line(const std::string& text);

/// The first character of UTF-8 and what it is; empty if the text begins with none.
struct Character {
  std::string_view bytes;
  char32_t code = 0;
};
Character first_character(std::string_view text);

/// At most so many characters, the last of which says that there were more. Cuts between characters of UTF-8; bytes
/// that are none count as one each.
std::string shortened(std::string_view text, std::size_t characters);

inline constexpr std::size_t kNameCharacters = 64;  // of a name in a report or a title

}  // namespace CorvaneTool
