// Kind words: which shape of container holds the elements of a data object.
//
// A kind word is a 32-bit set of flags; it is stored with every schema, and its flag names are the text that messages
// show.
#pragma once

#include <cstdint>
#include <string>

#include "util/Export.h"

namespace ZyData {

inline constexpr std::uint32_t kKindArray = 0x1;
inline constexpr std::uint32_t kKindSparse = 0x2;
inline constexpr std::uint32_t kKindVar = 0x4;
inline constexpr std::uint32_t kKindFrame = 0x8;
inline constexpr std::uint32_t kKindRecord = 0x10;
inline constexpr std::uint32_t kKindMMap = 0x20;
inline constexpr std::uint32_t kKindMMapVarArray = 0x40;
inline constexpr std::uint32_t kKindHierName = 0x100;
inline constexpr std::uint32_t kKindDict = 0x200;
inline constexpr std::uint32_t kKindString = 0x400;
inline constexpr std::uint32_t kKindSelection = 0x800;
inline constexpr std::uint32_t kKindDefaulted = 0x1000;
inline constexpr std::uint32_t kKindInitialSized = 0x2000;
inline constexpr std::uint32_t kKindHashed = 0x4000;
inline constexpr std::uint32_t kKindReference = 0x8000;
inline constexpr std::uint32_t kKindClassAccess = 0x40000;

/// The bits that name a factory; the others describe an object but do not change which class holds it.
inline constexpr std::uint32_t kKindKeyMask = 0x100dfff;
/// A schema with any of these may have sub-fields.
inline constexpr std::uint32_t kKindHasFields = kKindClassAccess | kKindRecord | kKindFrame;
/// A schema with any of these may get a frame as a sub-field.
inline constexpr std::uint32_t kKindTakesFrames = kKindClassAccess | kKindRecord;
/// An object with any of these holds more than one value.
inline constexpr std::uint32_t kKindComposite = kKindArray | kKindFrame | kKindRecord | kKindDict;

/// An object with any of these keeps its elements in files of their own.
inline constexpr std::uint32_t kKindInFile = kKindMMap | kKindMMapVarArray;

/// The key bits of the vector form of a kind: of a value an array, of a text an array of texts, of a run an array of
/// runs; with "mmap" a mapped one, save for texts. 0: none.
CORVANE_API std::uint32_t vector_kind(std::uint32_t kind);

/// The names of the set flags from bit 31 down to bit 0, separated by single blanks; "" for 0.
CORVANE_API std::string kind_to_string(std::uint32_t kind);

}  // namespace ZyData
