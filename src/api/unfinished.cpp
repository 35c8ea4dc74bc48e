// Functions of the header that this version does not offer yet.
#include "vxmkit.h"

int VXM_CALL VXM_Identify(MatcherHandle, const unsigned char*, int, const unsigned char* const*,
                          const int*, int, unsigned int, int*) {
  return VXM_ERR_NOT_SUPPORTED;
}
int VXM_CALL VXM_Identify_J(MatcherHandle, const unsigned char*, int, const unsigned char* const*,
                            const int*, int, unsigned int, int*) {
  return VXM_ERR_NOT_SUPPORTED;
}
int VXM_CALL VXM_IdentifyMT(MatcherHandle, const unsigned char*, int, const unsigned char* const*,
                            const int*, int, unsigned int, int*) {
  return VXM_ERR_NOT_SUPPORTED;
}
int VXM_CALL VXM_IdentifyMT_J(MatcherHandle, const unsigned char*, int, const unsigned char* const*,
                              const int*, int, unsigned int, int*) {
  return VXM_ERR_NOT_SUPPORTED;
}
int VXM_CALL VXM_AbortIdentify(MatcherHandle) { return VXM_ERR_NOT_SUPPORTED; }
int VXM_CALL VXM_IdentifyInit(MatcherHandle, const unsigned char*, int) {
  return VXM_ERR_NOT_SUPPORTED;
}
int VXM_CALL VXM_IdentifyNext(MatcherHandle, const unsigned char*, int, int*) {
  return VXM_ERR_NOT_SUPPORTED;
}
