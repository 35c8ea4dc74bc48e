// Records of all forms: what is read is written back and read again as the same; what
// conforms comes out byte by byte and stays conformant in any form; what no conversion
// counts as lost comes back.
#include <cstring>

#include "fuzz_input.h"
#include "vxmrecords.h"

namespace {

using fuzz::Bytes;
using fuzz::Require;

constexpr VXR_Image image = {500, 600, 0};

struct Record {
  VXR_Record* record = nullptr;
  Record() = default;
  Record(const Bytes& bytes, int form) {
    VXR_Fault fault = {};
    const int status = VXR_Read(bytes.data(), bytes.size(), form, &image, &record, &fault);
    Require((status == VXR_OK) == (record != nullptr), "a record comes with a success alone");
    Require(status == VXR_OK || fault.text[0] != '\0', "a refusal has a reason");
    Require(fault.offset <= bytes.size(), "a fault lies within the bytes");
  }
  ~Record() { VXR_Free(record); }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
};

int CountFaults(const Bytes& bytes, int form, const VXR_Image& told = image) {
  VXR_Fault faults[4];
  return VXR_Check(bytes.data(), bytes.size(), form, &told, faults, 4);
}

// Empty where the form cannot hold the record.
Bytes Written(const VXR_Record* record) {
  size_t size = 0;
  if (VXR_Write(record, nullptr, 0, &size, nullptr) != VXR_ERROR_ROOM) return {};
  Bytes bytes(size);
  Require(VXR_Write(record, bytes.data(), bytes.size(), &size, nullptr) == VXR_OK, "it writes");
  return bytes;
}

bool HasSameMinutiae(const VXR_Record& a, const VXR_Record& b) {
  bool same = a.viewCount == b.viewCount;
  for (uint32_t i = 0; same && i < a.viewCount; i++) {
    const VXR_View& left = a.views[i];
    const VXR_View& right = b.views[i];
    same = left.minutiaCount == right.minutiaCount;
    for (uint32_t j = 0; same && j < left.minutiaCount; j++) {
      const VXR_Minutia& m = left.minutiae[j];
      const VXR_Minutia& n = right.minutiae[j];
      same = m.x == n.x && m.y == n.y && m.angle == n.angle && m.type == n.type;
    }
  }
  return same;
}

VXR_Conversion Wanted(int form, uint8_t settings) {
  constexpr int resolutions[] = {0, 197, 394, 1};
  VXR_Conversion wanted = {};
  wanted.form = form;
  wanted.resolution = form == VXR_ISO_CARD_COMPACT ? 0 : resolutions[settings & 3];
  wanted.width = (settings & 4) != 0 ? 200 : 0;
  wanted.view = (settings & 8) != 0 ? 0 : -1;
  wanted.maxMinutiae = (settings & 16) != 0 ? 20 : 0;
  wanted.order = settings >> 5 & 3;
  wanted.descending = settings & 1;
  wanted.keepExtended = settings >> 7;
  return wanted;
}

void Convert(const Record& source, int from, bool conforms, int to, uint8_t settings) {
  const VXR_Conversion plain = Wanted(to, 128);
  const VXR_Conversion asked = Wanted(to, settings);
  const VXR_Losses none = {};
  for (const VXR_Conversion* wanted : {&plain, &asked}) {
    Record target;
    VXR_Losses losses = {};
    const int status = VXR_Convert(source.record, wanted, &target.record, &losses, nullptr);
    Require((status == VXR_OK) == (target.record != nullptr), "a conversion makes a record");
    if (target.record == nullptr) continue;
    const Bytes bytes = Written(target.record);
    if (conforms && !bytes.empty()) {
      const VXR_View& view = target.record->views[0];
      const VXR_Image told = {view.width, view.height, 0};
      Require(CountFaults(bytes, to, told) == 0, "what conforms stays conformant");
    }
    if (wanted != &plain || !conforms || std::memcmp(&losses, &none, sizeof(none)) != 0) continue;
    Record back;
    const VXR_Conversion way = Wanted(from, 128);
    if (VXR_Convert(target.record, &way, &back.record, nullptr, nullptr) != VXR_OK) continue;
    Require(from == VXR_ISO_CARD_COMPACT || HasSameMinutiae(*source.record, *back.record),
            "there and back changes nothing");
  }
}

void Try(const Bytes& bytes, int form, uint8_t settings) {
  const Record read(bytes, form);
  const int faults = CountFaults(bytes, form);
  Require(read.record != nullptr || faults > 0, "what cannot be read has a fault");
  if (read.record == nullptr) return;
  const Bytes written = Written(read.record);
  if (!written.empty()) {
    const Record again(written, form);
    Require(again.record != nullptr && Written(again.record) == written, "it reads back");
    Require(faults > 0 || form == VXR_XYT || written == bytes, "what conforms comes back");
  }
  for (int to = VXR_ANSI_2004; to <= VXR_XYT; to++) Convert(read, form, faults == 0, to, settings);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  for (const Bytes& bytes : fuzz::Parse(data, size).templates) {
    const int told = VXR_TellForm(bytes.data(), bytes.size());
    const int form = told == VXR_UNKNOWN || data[0] >= 192 ? data[0] % 9 : told;
    if (form != VXR_UNKNOWN) Try(bytes, form, data[0]);
  }
  return 0;
}
