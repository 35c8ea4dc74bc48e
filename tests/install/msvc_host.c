/* A host as Microsoft's tools would build it: their form of objects and linker,
   and no other runtime library than what the DLL brings. Its exit code is 0, or
   the number of the call that went wrong. */
#include <vxmkit.h>

int _fltused; /* the compiler's word that floating point is used */

int HostMain(void) {
  static const unsigned char bytes[16];
  MatcherHandle matcher;
  char text[VXM_ERROR_TEXT_SIZE];
  float score = 1.0f;
  int level = 7, type = 0, verified = 1;
  if (VXM_Create(&matcher) != VXM_OK) return 1;
  if (VXM_SetParameter(matcher, VXM_PARAM_SECURITY_LEVEL, &level) != VXM_OK) return 2;
  if (VXM_SetTemplateType(matcher, TEMPLATE_ANSI378) != VXM_OK) return 3;
  if (VXM_GetTemplateType(matcher, &type) != VXM_OK || type != TEMPLATE_ANSI378) return 4;
  if (VXM_VerifyEx(matcher, bytes, 16, bytes, 16, &score, &verified) != VXM_ERR_TEMPLATE_TYPE ||
      score != 0.0f || verified != 0) {
    return 5;
  }
  if (VXM_GetErrorString(VXM_ERR_TEMPLATE_TYPE, text) != VXM_OK || text[7] != 'T') return 6;
  return VXM_Delete(matcher) == VXM_OK ? 0 : 7;
}
