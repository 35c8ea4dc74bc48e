// What the bytes of a template say about themselves, read without the library:
// it answers only a status for two templates, and a user wants to know which of
// them is at fault and why.
#pragma once

#include <string>

#include "files.h"

enum class Format { native, iso, ansi };

const char* NameOf(Format format);

// The template type that a matcher must be set to.
int TypeOf(Format format);

struct Inspection {
  Format format = Format::native;
  std::string fault;  // why the library would refuse it; empty when valid
  // The rest holds what could be read before the fault.
  int minutiae = 0;
  int usable = 0;  // of them, by the library: those inside the image and 64 x 64 blocks
  // Of standard records, why the others are not: more than the library takes, outside the
  // image, on the edge of the blocks around all or beyond 64 of them.
  int beyondMost = 0;
  int outsideImage = 0;
  int outsideBlocks = 0;
  int width = 0;  // native: of the grid, in blocks; others: of the image, in pixels
  int height = 0;
  int attribute = 0;
  std::string form;  // native: the kinds of record and map
  // Bytes up to the end of the map (native) or of the last minutia (others).
  size_t bodySize = 0;
};

Inspection Inspect(const Bytes& bytes);

// A template with fewer usable minutiae can be stored, but no comparison with it is
// made.
constexpr int fewestUsable = 4;

// Why a valid template can never match; empty if it can.
std::string Unmatchable(const Inspection& found);
