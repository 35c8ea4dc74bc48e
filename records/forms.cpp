// Telling forms apart. The versions of the first editions are the same, and so are
// those of the second: there the place and the sum of lengths decide.
#include "forms.h"

#include <cctype>
#include <cstring>
#include <string>

#include "cursor.h"

namespace vxr {
namespace {

constexpr Form forms[] = {
    {VXR_ANSI_2004, "ansi-2004", 180, " 20", true},
    {VXR_ANSI_2009, "ansi-2009", 180, "030", true},
    {VXR_ANSI_2009_AM1, "ansi-2009-am1", 180, "035", true},
    {VXR_ISO_2005, "iso-2005", 256, " 20", true},
    {VXR_ISO_2011, "iso-2011", 256, "030", true},
    {VXR_ISO_CARD, "iso-card", 256, nullptr, false},
    {VXR_ISO_CARD_COMPACT, "iso-card-compact", 64, nullptr, false},
    {VXR_XYT, "xyt", 360, nullptr, true},
};

uint32_t U16At(const uint8_t* bytes, size_t size, size_t offset) {
  return offset < size ? Cursor{bytes, size, offset}.U16() : 0;
}

uint32_t U32At(const uint8_t* bytes, size_t size, size_t offset) {
  return offset < size ? Cursor{bytes, size, offset}.U32() : 0;
}

int TellFirstEdition(const uint8_t* bytes, size_t size) {
  if (U16At(bytes, size, 8) != 0) return VXR_ANSI_2004;
  if (U32At(bytes, size, 8) == size) return VXR_ISO_2005;
  const uint32_t longLength = U32At(bytes, size, 10);
  return longLength >= 0x10000 && longLength == size ? VXR_ANSI_2004 : VXR_ISO_2005;
}

// Whether the representations fill the length exactly.
bool IsIso2011(const uint8_t* bytes, size_t size) {
  const size_t length = U32At(bytes, size, 8);
  size_t at = iso2011Header;
  if (size < at || length > size) return false;
  for (uint32_t left = U16At(bytes, size, 12); left > 0; left--) {
    const size_t representation = U32At(bytes, size, at);
    if (representation < leastRepresentation || representation > size - at) return false;
    at += representation;
  }
  return at == length;
}

// Letters and digits alone, small, without the numbers of the standards.
std::string Plain(const char* name) {
  std::string plain;
  for (; *name != '\0'; name++) {
    const auto character = static_cast<unsigned char>(*name);
    if (std::isalnum(character)) plain += static_cast<char>(std::tolower(character));
  }
  for (const char* word : {"incits", "iec", "378", "197942"}) {
    const size_t at = plain.find(word);
    if (at != std::string::npos) plain.erase(at, std::strlen(word));
  }
  return plain;
}

}  // namespace

const Form* FindForm(int id) {
  for (const Form& form : forms) {
    if (form.id == id) return &form;
  }
  return nullptr;
}

}  // namespace vxr

int VXR_CALL VXR_TellForm(const unsigned char* bytes, size_t size) {
  if (bytes == nullptr || size < 8 || std::memcmp(bytes, "FMR", 4) != 0) return VXR_UNKNOWN;
  const auto hasVersion = [&](const char* version) {
    return std::memcmp(bytes + 4, version, 4) == 0;
  };
  if (hasVersion(" 20")) return vxr::TellFirstEdition(bytes, size);
  if (hasVersion("035")) return VXR_ANSI_2009_AM1;
  if (!hasVersion("030")) return VXR_UNKNOWN;
  return vxr::IsIso2011(bytes, size) ? VXR_ISO_2011 : VXR_ANSI_2009;
}

const char* VXR_CALL VXR_FormName(int form) {
  const vxr::Form* found = vxr::FindForm(form);
  return found == nullptr ? nullptr : found->name;
}

int VXR_CALL VXR_FormOfName(const char* name) {
  if (name == nullptr) return VXR_UNKNOWN;
  const std::string plain = vxr::Plain(name);
  for (const vxr::Form& form : vxr::forms) {
    if (plain == vxr::Plain(form.name)) return form.id;
  }
  return plain == "isocardnormal" ? VXR_ISO_CARD : VXR_UNKNOWN;
}
