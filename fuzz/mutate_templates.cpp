// A mutator for libFuzzer that knows what a standard record is made of.
//
// Bytes changed at random seldom leave a record whose counts and lengths agree.
// Besides such changes, this one changes single fields to values that lie near a
// limit, adds and removes minutiae, makes all lengths true again, and copies,
// moves and drops whole templates, so that genuine pairs come about.
#include <algorithm>
#include <random>

#include "fuzz_input.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned seed);

namespace {

using fuzz::Bytes;

constexpr size_t minutiaSize = 6;

class Mutation {
 public:
  Mutation(unsigned seed, size_t maxSize) : random_(seed), maxSize_(maxSize) {}

  void Apply(fuzz::Input& input) {
    std::vector<Bytes>& templates = input.templates;
    if (templates.empty()) templates.emplace_back(Bytes{'F', 'M', 'R', 0});
    Bytes& one = templates[Below(templates.size())];
    const Bytes other = templates[Below(templates.size())];
    switch (Below(8)) {
      case 0: input.settings = static_cast<uint8_t>(random_()); break;
      case 1: one = other; break;
      case 2: templates.push_back(other); break;
      case 3:
        if (templates.size() > 2) templates.erase(templates.begin() + 1);
        break;
      default:
        if (one.size() > 40 && one[0] == 'F' && Below(4) != 0) {
          ChangeRecord(one);
        } else {
          ChangeBytes(one);
        }
    }
  }

 private:
  size_t Below(size_t limit) { return random_() % limit; }

  // Powers of two and multiples of a block, and what lies beside them.
  size_t Limit() {
    const size_t near = Below(2) == 0 ? size_t{1} << Below(16) : 16 * Below(66);
    return near + Below(3) - 1;
  }

  void ChangeBytes(Bytes& bytes) {
    const size_t size = bytes.size();
    bytes.resize(std::max(maxSize_, size));
    bytes.resize(LLVMFuzzerMutate(bytes.data(), size, bytes.size()));
  }

  static void Put16(Bytes& bytes, size_t at, size_t value) {
    if (at + 1 >= bytes.size()) return;
    bytes[at] = static_cast<uint8_t>(value >> 8);
    bytes[at + 1] = static_cast<uint8_t>(value);
  }

  void ChangeRecord(Bytes& record) {
    const bool ansi = record[8] != 0 || record[9] != 0;
    const size_t minutiae = ansi ? 30 : 28;  // where they begin
    const size_t count = record[minutiae - 1];
    const size_t extended = std::min(minutiae + count * minutiaSize, record.size());
    const size_t minutia = minutiae + minutiaSize * Below(count + 1);
    switch (Below(9)) {
      case 0: Put16(record, (ansi ? 16 : 14) + 2 * Below(2), Limit()); break;  // image size
      case 1: record[minutiae - 1] = static_cast<uint8_t>(Limit()); break;
      case 2: Put16(record, ansi ? 8 : 10, Limit()); break;  // record length
      case 3: Put16(record, extended + 2 * Below(3), Limit()); break;
      case 4: Put16(record, minutia + 2 * Below(2), Below(4) << 14 | Limit()); break;
      case 5: Put16(record, minutia + 4, random_()); break;
      case 6:
        if (minutia + minutiaSize <= record.size()) AddMinutia(record, minutiae, minutia);
        break;
      case 7:
        if (minutia + minutiaSize <= record.size() && count > 0) {
          const auto begin = record.begin() + static_cast<std::ptrdiff_t>(minutia);
          record.erase(begin, begin + minutiaSize);
          record[minutiae - 1]--;
        }
        break;
      default: record.resize(Below(record.size() + 9) + 1); return;
    }
    if (Below(4) != 0) Put16(record, ansi ? 8 : 10, record.size());
  }

  // Beside another one.
  void AddMinutia(Bytes& record, size_t minutiae, size_t at) {
    uint8_t copy[minutiaSize];
    std::copy_n(record.begin() + static_cast<std::ptrdiff_t>(at), minutiaSize, copy);
    copy[1] = static_cast<uint8_t>(copy[1] + Below(33) - 16);
    copy[3] = static_cast<uint8_t>(copy[3] + Below(33) - 16);
    record.insert(record.begin() + static_cast<std::ptrdiff_t>(minutiae), copy, copy + minutiaSize);
    record[minutiae - 1]++;
  }

  std::minstd_rand random_;
  size_t maxSize_;
};

}  // namespace

size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned seed) {
  fuzz::Input input = fuzz::Parse(data, size);
  Mutation(seed, std::min<size_t>(maxSize, 5000)).Apply(input);
  const Bytes bytes = fuzz::Write(input);
  const size_t written = std::min(bytes.size(), maxSize);
  std::copy_n(bytes.begin(), written, data);
  return written;
}
