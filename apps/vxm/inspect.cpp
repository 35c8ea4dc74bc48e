// Reads the headers of the three formats and names the first fault.
#include "inspect.h"

#include <algorithm>
#include <cstring>

#include "vxmkit.h"

namespace {

constexpr int maxMinutiae = 200;
constexpr int mostIsoMinutiae = 127;
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
  found.usable = found.minutiae;
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

struct Point {
  int x;
  int y;
};

// The pixels from `low` to `high` of the blocks that hold what lies between least and
// greatest, at most 64 blocks.
struct Span {
  int low;
  int high;
};

Span SpanOf(int least, int greatest) {
  constexpr int margin = 8;
  constexpr int largest = 1024;
  constexpr int mostBlocks = largest / blockPixels;
  const int first = std::max(least - margin, 0) / blockPixels;
  const int last = std::min(greatest + margin, largest) / blockPixels;
  const int blocks = std::min(last - first + 1, mostBlocks);
  return {first * blockPixels, (first + blocks) * blockPixels - 1};
}

// The minutiae that the library loads: inside the image, and not on the first line or
// column of the blocks around them.
void CountUsable(const Bytes& bytes, Inspection& found, size_t firstRecord) {
  const int most = found.format == Format::ansi ? maxMinutiae : mostIsoMinutiae;
  std::vector<Point> points;
  Point least = {1024, 1024};
  Point greatest = {0, 0};
  for (int i = 0; i < std::min(found.minutiae, most); ++i) {
    const size_t record = firstRecord + 6 * static_cast<size_t>(i);
    const Point point = {WordAt(bytes, record) & 0x3FFF, WordAt(bytes, record + 2)};
    if (point.x >= found.width || point.y >= found.height || point.y >= 0x8000) continue;
    least = {std::min(least.x, point.x), std::min(least.y, point.y)};
    greatest = {std::max(greatest.x, point.x), std::max(greatest.y, point.y)};
    points.push_back(point);
  }
  const Span columns = SpanOf(least.x, greatest.x);
  const Span rows = SpanOf(least.y, greatest.y);
  found.usable = static_cast<int>(std::count_if(points.begin(), points.end(), [&](Point point) {
    return point.x > columns.low && point.x <= columns.high && point.y > rows.low &&
           point.y <= rows.high;
  }));
  const auto inside = static_cast<int>(points.size());
  found.beyondMost = std::max(found.minutiae - most, 0);
  found.outsideImage = found.minutiae - found.beyondMost - inside;
  found.outsideBlocks = inside - found.usable;
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
  } else {
    CountUsable(bytes, found, 28 + shift);
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

std::string Unmatchable(const Inspection& found) {
  if (found.usable >= fewestUsable) return "";
  return "has too few minutiae to match anything: " + std::to_string(found.usable) +
         " usable ones of " + std::to_string(found.minutiae) + ", and " +
         std::to_string(fewestUsable) + " are needed";
}
