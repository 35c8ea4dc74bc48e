// Ordering and copying candidates.
//
// Idea of the order: the attribute is one byte about the whole print, so mates
// mostly have close ones, and a first-match search that starts with those ends
// sooner.
#include "identify/candidates.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <numeric>

#include "platform/cpu.h"
#include "platform/platform.h"

namespace vxm {
namespace {

constexpr uint8_t unknownKey = 255;

constexpr int orderKeys = 256;

uint8_t OrderKey(TemplateFormat format, uint8_t probeAttribute, const uint8_t* bytes, int size) {
  uint8_t attribute = 0;
  if (bytes == nullptr || !ReadAttribute(format, bytes, size, attribute)) return unknownKey;
  return static_cast<uint8_t>(std::abs(attribute - probeAttribute));
}

// So many candidates ahead, the order asks for memory: a key takes a fraction of the time
// that memory takes to answer.
constexpr size_t keysAhead = 32;

// Asks for the bytes that say the attribute: at the front, and where a standard record's
// extended data usually are, at the end.
void ExpectAttribute(const uint8_t* bytes, int size) {
  if (bytes == nullptr || size < 1) return;
  platform::Prefetch(bytes);
  platform::Prefetch(bytes + size - 1);
}

// Asks for what an ordinary template's minutiae take; asking for more gains nothing.
void ExpectBytes(const CandidateEntry& entry) {
  constexpr int line = 64;
  constexpr int most = 384;
  if (entry.templateData == nullptr) return;
  for (int offset = 0; offset < std::min(entry.templateSize, most); offset += line) {
    platform::Prefetch(entry.templateData + offset);
  }
}

int CopySize(int templateSize) { return std::clamp(templateSize, 0, maxCopySize); }

}  // namespace

bool ReadAttribute(TemplateFormat format, const uint8_t* bytes, int size, uint8_t& attribute) {
  if (format != TemplateFormat::native) {
    return ReadCandidateAttribute(LayoutOf(format), bytes, size, attribute);
  }
  constexpr int offset = 4;
  if (size <= offset) return false;
  attribute = bytes[offset];
  return true;
}

bool BuildCandidateList(CandidateList& list, TemplateFormat format, uint8_t probeAttribute,
                        const unsigned char* const* templates, const int* templateSizes,
                        int templateCount) {
  list.count = std::max(templateCount, 0);
  const auto count = static_cast<size_t>(list.count);
  list.entries.reset(new (std::nothrow) CandidateEntry[count]);
  const std::unique_ptr<uint8_t[]> keys(new (std::nothrow) uint8_t[count]);
  if (list.entries == nullptr || keys == nullptr) return false;
  // Keys are small, so they are counted, and each says where its entries begin.
  size_t next[orderKeys + 1] = {};
  for (size_t i = 0; i < count; i++) {
    const size_t later = i + keysAhead;
    if (later < count) ExpectAttribute(templates[later], templateSizes[later]);
    keys[i] = OrderKey(format, probeAttribute, templates[i], templateSizes[i]);
    next[keys[i] + 1]++;
  }
  std::partial_sum(next, next + orderKeys, next);
  for (size_t i = 0; i < count; i++) {
    list.entries[next[keys[i]]++] = {static_cast<int32_t>(i), templates[i], templateSizes[i]};
  }
  return true;
}

// What is asked for has to wait until its page is found, which can take as long as the
// memory itself; several wait at once.
void ExpectCandidates(const CandidateList& list, int position, int step) {
  constexpr int together = 4;
  if (position / step % together != 0) return;
  for (int k = together; k < 2 * together; k++) {
    const int later = position + k * step;
    if (later >= list.count) return;
    ExpectBytes(list.entries[static_cast<size_t>(later)]);
  }
}

CandidateCopies::~CandidateCopies() {
  if (bytes != nullptr) platform::Wipe(bytes.get(), total);
}

bool CopyCandidates(CandidateCopies& copies, const unsigned char* buffer, const int* templateSizes,
                    int templateCount) {
  const auto count = static_cast<size_t>(std::max(templateCount, 0));
  size_t total = 0;
  for (size_t i = 0; i < count; i++) {
    const auto size = static_cast<size_t>(CopySize(templateSizes[i]));
    if (size > SIZE_MAX - total) return false;  // a 32-bit host's memory ends here
    total += size;
  }
  copies.bytes.reset(new (std::nothrow) uint8_t[total]);
  copies.total = total;
  copies.templates.reset(new (std::nothrow) const unsigned char*[count]);
  copies.sizes.reset(new (std::nothrow) int[count]);
  if (copies.bytes == nullptr || copies.templates == nullptr || copies.sizes == nullptr) {
    return false;
  }
  uint8_t* target = copies.bytes.get();
  for (size_t i = 0; i < count; i++) {
    const int size = CopySize(templateSizes[i]);
    copies.templates[i] = target;
    copies.sizes[i] = size;
    target = std::copy_n(buffer, size, target);
    buffer += std::max(templateSizes[i], 0);
  }
  return true;
}

}  // namespace vxm
