// Records of all forms: the library vxmrecords with failures that name the file, and
// what the matcher can compare made of them.
#pragma once

#include <memory>

#include "files.h"
#include "vxmrecords.h"

struct FreeRecord {
  void operator()(VXR_Record* record) const { VXR_Free(record); }
};
using Record = std::unique_ptr<VXR_Record, FreeRecord>;

// All names, and the form of one. Fails where there is none; `option` is told then.
std::string FormNames();
int FormNamed(const std::string& option, const std::string& name);

// "angle 200 (must be 0 to 179), at byte 34, view 1, minutia 1".
std::string TextOf(const VXR_Fault& fault);

struct NamedCount {
  const char* name;  // as in JSON
  const char* text;
  uint32_t count;
};

// All counts of losses, zeros too.
std::vector<NamedCount> CountsOf(const VXR_Losses& losses);

// "2 minutiae outside the image, ..."; empty where nothing is lost.
std::string TextOf(const VXR_Losses& losses);

VXR_Losses& operator+=(VXR_Losses& sum, const VXR_Losses& losses);

// All of a form that the bytes do not tell need `image`.
Record ReadRecord(const std::string& name, const Bytes& bytes, int form,
                  const VXR_Image& image = {});

Record ConvertRecord(const std::string& name, const VXR_Record& record,
                     const VXR_Conversion& wanted, VXR_Losses& losses);

Bytes WriteRecord(const std::string& name, const VXR_Record& record);

// What becomes of records that the matcher would misread, or of another resolution.
enum class Intake { convert, refuse };

// Why the matcher would misread the bytes; empty if it would not.
std::string MisreadFault(const Bytes& bytes);

// Makes bytes of a record such as the matcher compares, and tells what was done: "" for
// nothing. Fails where it would misread them and they are not to be converted.
std::string TakeIn(const std::string& name, Bytes& bytes, Intake intake);
