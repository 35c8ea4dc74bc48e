// Reading the headers of the four layouts with one, and the views behind them.
#include <algorithm>
#include <array>

#include "forms.h"
#include "reading.h"

namespace vxr {
namespace {

// What a header says of all that follows.
struct Header {
  size_t lengthAt = 8;
  size_t length = 0;
  size_t viewCountAt = 0;
  uint32_t viewCount = 0;
  VXR_View image = {};  // its size and resolution
};

void ReadEquipment(Cursor& in, OwnedRecord& record) {
  const uint16_t equipment = in.U16();
  record.certification = static_cast<uint8_t>(equipment >> 12);
  record.device = equipment & 0x0FFF;
}

void ReadViewCount(Cursor& in, OwnedRecord& record, Header& header, Faults& faults) {
  header.viewCountAt = in.at;
  header.viewCount = in.U8();
  record.reserved = in.U8();
  faults.Expect(record.reserved == 0, in.at - 1, "reserved byte ", int{record.reserved},
                " (must be 0)");
}

void ReadProduct(Cursor& in, OwnedRecord& record) {
  record.vendor = in.U16();
  record.subformat = in.U16();
}

void ReadFirstEdition(Cursor& in, OwnedRecord& record, Header& header, Faults& faults) {
  if (record.form == VXR_ANSI_2004) {
    header.length = in.U16();
    if (header.length == 0) {
      header.lengthAt = in.at;
      header.length = in.U32();
      faults.Expect(header.length > 0xFFFF, header.lengthAt, "record length ", header.length,
                    " in six bytes (two hold it)");
    }
    ReadProduct(in, record);
  } else {
    header.length = in.U32();
  }
  ReadEquipment(in, record);
  VXR_View& image = header.image;
  for (uint16_t* field : {&image.width, &image.height, &image.xResolution, &image.yResolution}) {
    *field = in.U16();
    const char* name =
        field == &image.width || field == &image.height ? "image size" : "resolution";
    faults.Expect(*field != 0, in.at - 2, name, " 0");
  }
  ReadViewCount(in, record, header, faults);
}

void ReadAnsi2009(Cursor& in, OwnedRecord& record, Header& header, Faults& faults) {
  header.length = in.U32();
  ReadProduct(in, record);
  record.certification = in.U8();
  faults.Expect(record.certification == 0 || record.certification == 0x80, in.at - 1,
                "certification ", int{record.certification}, " (must be 0 or 128)");
  record.device = in.U16();
  ReadViewCount(in, record, header, faults);
}

void ReadIso2011(Cursor& in, OwnedRecord& record, Header& header, Faults& faults) {
  header.length = in.U32();
  header.viewCountAt = in.at;
  header.viewCount = in.U16();
  record.certification = in.U8();
  faults.Expect(record.certification <= 1, in.at - 1, "certification flag ",
                int{record.certification}, " (must be 0 or 1)");
}

Header ReadHeader(Cursor& in, OwnedRecord& record, Faults& faults) {
  Header header;
  in.at = 8;
  if (IsFirstEdition(record.form)) {
    ReadFirstEdition(in, record, header, faults);
  } else if (record.form == VXR_ISO_2011) {
    ReadIso2011(in, record, header, faults);
  } else {
    ReadAnsi2009(in, record, header, faults);
  }
  return header;
}

// Views of a finger are numbered from 0; some makers number all views of a record so.
void CheckNumbers(const OwnedRecord& record, const std::vector<size_t>& offsets, Faults& faults) {
  std::array<size_t, 256> ofFinger{};
  for (size_t i = 0; i < record.viewList.size(); i++) {
    const VXR_View& view = record.viewList[i];
    const size_t expected = ofFinger[view.fingerPosition]++;
    faults.view = static_cast<int>(i);
    faults.Expect(view.number == expected || view.number == i, offsets[i], "view number ",
                  int{view.number}, " (must be ", expected, ")");
  }
  faults.view = -1;
}

// Of the field in a view that holds its number.
size_t NumberOffset(int form, size_t viewAt, const VXR_View& view, bool certified) {
  if (form != VXR_ISO_2011) return viewAt + 1;
  const size_t lists = 5 * view.qualityCount + (certified ? 1 + 3 * view.certificationCount : 0);
  return viewAt + 19 + lists + 1;
}

}  // namespace

bool ReadRecord(Cursor in, OwnedRecord& record, Faults& faults) {
  const Form& form = *FindForm(record.form);
  const bool begins = in.end >= 8 && std::equal(in.bytes, in.bytes + 4, "FMR") &&
                      std::equal(in.bytes + 4, in.bytes + 8, form.version);
  if (!begins) return faults.Refuse(0, "no ", form.name, " record: begins otherwise");
  const Header header = ReadHeader(in, record, faults);
  if (in.cut) return faults.Refuse(in.end, "ends in its header");
  if (header.length > in.end) {
    return faults.Refuse(header.lengthAt, "record length ", header.length, ", but ", in.end,
                         " bytes");
  }
  faults.Expect(header.viewCount > 0, header.viewCountAt, "no views");
  std::vector<size_t> numberOffsets;
  for (uint32_t i = 0; i < header.viewCount; i++) {
    faults.view = static_cast<int>(i);
    const size_t at = in.at;
    VXR_View view = header.image;
    if (!ReadView(in, record, view, faults)) return false;
    numberOffsets.push_back(NumberOffset(record.form, at, view, record.certification == 1));
    record.Add(view);
  }
  faults.view = -1;
  CheckNumbers(record, numberOffsets, faults);
  faults.Expect(header.length == in.at, header.lengthAt, "record length ", header.length,
                ", but header and views take ", in.at, " bytes");
  faults.Expect(in.Left() == 0 || header.length > in.at, in.at, in.Left(),
                " bytes follow the last view");
  return true;
}

}  // namespace vxr
