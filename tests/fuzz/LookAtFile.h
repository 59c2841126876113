// What the tool makes of any bytes: an answer no longer than they justify, or a documented error.
#pragma once

#include <stdexcept>
#include <string>

#include "mpsys/Message.h"
#include "tests/format/Load.h"

namespace TestSupport {

/// `answer` is given the path of a file with these bytes. Anything but an answer, of at most `factor` times as many
/// bytes and a little, or a documented error ends the fuzz target.
template <class Answer>
void look_at_file(std::string bytes, std::size_t factor, const Answer& answer) {
  const std::size_t most = factor * bytes.size() + (std::size_t{1} << 20U);
  file("input") = std::move(bytes);
  std::string text;
  try {
    text = answer(std::string(kMemory) + "/input.zydat");
  } catch (const std::runtime_error&) {
  } catch (const Util::Error&) {
  } catch (const MPSys::NonDataMessageException&) {
  }
  if (text.size() > most) throw std::logic_error("an answer of " + std::to_string(text.size()) + " bytes");
}

}  // namespace TestSupport
