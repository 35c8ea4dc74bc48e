// The half turn: what comes out is of the same format, loads and verifies; what is
// refused stays as it was.
#include "fuzz_input.h"

namespace {

using fuzz::Bytes;
using fuzz::Require;

// Leaves the matcher set to it; 0 for bytes that are no template.
int TypeOf(MatcherHandle matcher, const Bytes& bytes) {
  for (const int type : {TEMPLATE_NATIVE, TEMPLATE_ISO19794_2, TEMPLATE_ANSI378}) {
    VXM_SetTemplateType(matcher, type);
    if (VXM_IdentifyInit(matcher, bytes.data(), fuzz::SizeOf(bytes)) == VXM_OK) return type;
  }
  return 0;
}

void Turn(MatcherHandle matcher, Bytes& bytes) {
  const Bytes before = bytes;
  const int type = TypeOf(matcher, before);
  const int status = VXM_RotateTemplate(matcher, bytes.data(), fuzz::SizeOf(bytes));
  Require(status == (type == 0 ? VXM_ERR_TEMPLATE_TYPE : VXM_OK), "what is a template turns");
  // Refused, or a record that the buffer has no room for.
  if (bytes == before) return;
  Require(status == VXM_OK, "what is refused stays");
  Require(TypeOf(matcher, bytes) == type, "the format stays");
  Require(fuzz::Verify(matcher, bytes, fuzz::Sparse(type)).status == VXM_OK,
          "a turned template is sound");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MatcherHandle matcher = fuzz::NewMatcher();
  for (Bytes bytes : fuzz::Parse(data, size).templates) {
    if (bytes.empty()) continue;
    // With room for a richer form, too.
    if (data[0] & 1) bytes.resize(bytes.size() + data[0]);
    bytes.shrink_to_fit();
    for (int times = 0; times < 2; times++) Turn(matcher, bytes);
  }
  return 0;
}
