// Reads the headers of the three formats and names the first fault.
#include "inspect.h"

#include <cstring>

#include "vxmkit.h"

namespace {

constexpr int maxMinutiae = 200;
constexpr int blockPixels = 16;

// Bytes beyond the end read as 0.
int ByteAt(const Bytes& bytes, size_t offset) { return offset < bytes.size() ? bytes[offset] : 0; }

int WordAt(const Bytes& bytes, size_t offset) {
  return ByteAt(bytes, offset) << 8 | ByteAt(bytes, offset + 1);
}

std::string Count(size_t count, const char* noun) { return std::to_string(count) + " " + noun; }

std::string TooShort(size_t has, size_t needs) {
  return "has " + Count(has, "bytes") + " where " + std::to_string(needs) + " are needed";
}

std::string OutsideFault(const Bytes& bytes, const Inspection& found, size_t recordSize) {
  for (int i = 0; i < found.minutiae; ++i) {
    const unsigned char* record = &bytes[8 + static_cast<size_t>(i) * recordSize];
    const bool full = recordSize == 5;
    const int x = full ? record[0] << 2 | record[1] >> 6 : record[0] * 2;
    const int y = full ? (record[1] & 63) << 4 | record[2] >> 4 : record[1] * 2;
    // One block beyond the grid is still taken.
    if (x >= (found.width + 1) * blockPixels || y >= (found.height + 1) * blockPixels) {
      return "minutia " + std::to_string(i + 1) + " at (" + std::to_string(x) + ", " +
             std::to_string(y) + ") lies outside the grid";
    }
  }
  return "";
}

void InspectNative(const Bytes& bytes, Inspection& found) {
  const auto recordSize = static_cast<size_t>(ByteAt(bytes, 0) & 7);
  const int headerLength = ByteAt(bytes, 0) >> 3;
  const bool byteMap = (ByteAt(bytes, 2) & 0x80) != 0;
  found.minutiae = ByteAt(bytes, 1);
  found.width = ByteAt(bytes, 2) & 63;
  found.height = ByteAt(bytes, 3) & 63;
  found.attribute = ByteAt(bytes, 4);
  found.form = std::string(recordSize == 5 ? "full" : "short") + " records, " +
               (byteMap ? "byte map" : "4-bit map");
  const size_t blocks = static_cast<size_t>(found.width) * static_cast<size_t>(found.height);
  found.bodySize =
      8 + static_cast<size_t>(found.minutiae) * recordSize + (byteMap ? blocks : (blocks + 1) / 2);

  if (recordSize != 4 && recordSize != 5) {
    found.fault = "minutia records of " + Count(recordSize, "bytes") + " (must be 4 or 5)";
  } else if (headerLength != 8) {
    found.fault = "header length " + std::to_string(headerLength) + " (must be 8)";
  } else if (found.minutiae < 1 || found.minutiae > maxMinutiae) {
    found.fault = "minutia count " + std::to_string(found.minutiae) + " (must be 1 to 200)";
  } else if (found.width == 0 || found.height == 0) {
    found.fault = "empty orientation grid";
  } else if (bytes.size() < found.bodySize) {
    found.fault = TooShort(bytes.size(), found.bodySize);
  } else {
    found.fault = OutsideFault(bytes, found, recordSize);
  }
}

// The attribute stands in the first extended data field or else in the header's
// reserved byte.
int StandardAttribute(const Bytes& bytes, size_t extended, int reservedByte) {
  constexpr int attributeField = 0x0144;
  const int block = WordAt(bytes, extended);
  const int field = WordAt(bytes, extended + 4);
  const bool blockInside = block > 0 && extended + 2 + static_cast<size_t>(block) <= bytes.size();
  const bool fieldInside = field >= 5 && extended + 2 + static_cast<size_t>(field) <= bytes.size();
  const bool present = blockInside && fieldInside && WordAt(bytes, extended + 2) == attributeField;
  return present ? ByteAt(bytes, extended + 6) : reservedByte;
}

void InspectStandard(const Bytes& bytes, Inspection& found) {
  const bool ansi = found.format == Format::ansi;
  const size_t shift = ansi ? 2 : 0;  // what ANSI's header has more
  const size_t length =
      ansi ? static_cast<size_t>(WordAt(bytes, 8)) : static_cast<size_t>(WordAt(bytes, 10));
  found.width = WordAt(bytes, 14 + shift);
  found.height = WordAt(bytes, 16 + shift);
  found.minutiae = ByteAt(bytes, 27 + shift);
  found.bodySize = 28 + shift + 6 * static_cast<size_t>(found.minutiae);
  found.attribute = StandardAttribute(bytes, found.bodySize, ByteAt(bytes, 23 + shift));

  if (bytes.size() < 30 + shift) {
    found.fault = TooShort(bytes.size(), 30 + shift);
  } else if (bytes.size() < length) {
    found.fault =
        "has " + Count(bytes.size(), "bytes") + " but a record length of " + std::to_string(length);
  } else if (found.minutiae > maxMinutiae) {
    found.fault = "minutia count " + std::to_string(found.minutiae) + " (must be 0 to 200)";
  } else if (bytes.size() < found.bodySize + 2) {
    found.fault = TooShort(bytes.size(), found.bodySize + 2);
  }
}

}  // namespace

const char* NameOf(Format format) {
  switch (format) {
    case Format::iso: return "ISO 19794-2";
    case Format::ansi: return "ANSI 378";
    default: return "native";
  }
}

int TypeOf(Format format) {
  switch (format) {
    case Format::iso: return TEMPLATE_ISO19794_2;
    case Format::ansi: return TEMPLATE_ANSI378;
    default: return TEMPLATE_NATIVE;
  }
}

Inspection Inspect(const Bytes& bytes) {
  Inspection found;
  if (bytes.size() >= 4 && std::memcmp(bytes.data(), "FMR", 4) == 0) {
    // The 2-byte record length of ANSI stands where ISO has the upper, zero
    // half of its 4-byte one.
    found.format = WordAt(bytes, 8) != 0 ? Format::ansi : Format::iso;
    InspectStandard(bytes, found);
  } else {
    InspectNative(bytes, found);
  }
  return found;
}
