// A template that the library will take, read from a file.
#pragma once

#include "inspect.h"
#include "record_file.h"

struct TemplateFile {
  std::string name;
  Bytes bytes;
  Inspection inspection;
  std::string converted;  // what was done to the file's bytes, if anything

  int Size() const { return static_cast<int>(bytes.size()); }
};

// Why the bytes are no template; speaks of them as what they are read as.
std::string FaultText(const Inspection& inspection);

// Fails where the bytes are none, and says if they are a gallery's.
TemplateFile RequireTemplate(const std::string& name, Bytes bytes, Intake intake);

TemplateFile LoadTemplateFile(const std::string& name, Intake intake);

// Takes in a stored template, which was inspected already, in the same way; leaves in
// `fault` why it cannot be compared.
std::string TakeInStored(const std::string& name, Bytes& bytes, Inspection& inspection,
                         std::string& fault, Intake intake);

// What was converted, and how, to be told.
void NoteConverted(const TemplateFile& file, std::vector<LeftOut>& converted);

// Fails when the two are of different formats.
void RequireSameFormat(const TemplateFile& a, const TemplateFile& b);
