// The half turn: what comes out loads again and verifies, and says no more than
// there was; what is refused stays as it was.
#include "fuzz_input.h"

namespace {

using fuzz::Bytes;
using fuzz::Require;

bool IsRecord(const Bytes& bytes) {
  return bytes.size() > 3 && bytes[0] == 'F' && bytes[1] == 'M' && bytes[2] == 'R' && bytes[3] == 0;
}

int FormatOf(const Bytes& bytes) {
  if (!IsRecord(bytes)) return TEMPLATE_NATIVE;
  const bool ansi = (bytes.size() > 8 && bytes[8] != 0) || (bytes.size() > 9 && bytes[9] != 0);
  return ansi ? TEMPLATE_ANSI378 : TEMPLATE_ISO19794_2;
}

size_t MinutiaCount(const Bytes& bytes) {
  const int type = FormatOf(bytes);
  return bytes.at(type == TEMPLATE_NATIVE ? 1 : type == TEMPLATE_ANSI378 ? 29 : 27);
}

void Turn(MatcherHandle matcher, Bytes& bytes) {
  const Bytes before = bytes;
  const int status = VXM_RotateTemplate(matcher, bytes.data(), fuzz::SizeOf(bytes));
  if (status != VXM_OK) {
    Require(status == VXM_ERR_TEMPLATE_TYPE, "the status is one of two");
    Require(bytes == before, "what is refused stays");
    return;
  }
  if (bytes == before) return;  // a record that the buffer has no room for
  const int type = FormatOf(before);
  Require(FormatOf(bytes) == type, "the format stays");
  Require(MinutiaCount(bytes) <= MinutiaCount(before), "no minutia is invented");
  VXM_SetTemplateType(matcher, type);
  Require(fuzz::Verify(matcher, bytes, fuzz::Sparse(type)).status == VXM_OK,
          "a turned template is sound");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MatcherHandle matcher = fuzz::NewMatcher();
  for (Bytes bytes : fuzz::Parse(data, size).templates) {
    if (bytes.empty()) continue;
    fuzz::Configure(matcher, data[0]);
    // With room for a richer form, too.
    if (data[0] & 1) bytes.resize(bytes.size() + data[0]);
    bytes.shrink_to_fit();
    for (int times = 0; times < 2; times++) Turn(matcher, bytes);
  }
  return 0;
}
