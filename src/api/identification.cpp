// The entries of one-to-many identification.
#include "identify/search.h"

#include "identify/candidates.h"

namespace {

// A first pass, and a second one with the turned probe when the matcher asks for
// it and the first found nothing.
int Identify(MatcherHandle handle, const vxm::IdentifyRequest& request, int* matchIndex) {
  if (handle == nullptr || request.probe == nullptr || request.templates == nullptr ||
      request.templateSizes == nullptr || matchIndex == nullptr) {
    return VXM_ERR_INVALID_PARAMETERS;
  }
  const int status = vxm::IdentifyPass(*handle, request, false, *matchIndex);
  if (status != VXM_OK || *matchIndex != -1 || !handle->retryTurnedProbe) return status;
  return vxm::IdentifyPass(*handle, request, true, *matchIndex);
}

// The same for candidates back to back in the buffer at *templateData.
int IdentifyInBuffer(MatcherHandle handle, vxm::IdentifyRequest request,
                     const unsigned char* const* templateData, int* matchIndex) {
  if (handle == nullptr || request.probe == nullptr || templateData == nullptr ||
      request.templateSizes == nullptr || matchIndex == nullptr ||
      (*templateData == nullptr && request.templateCount > 0)) {
    return VXM_ERR_INVALID_PARAMETERS;
  }
  vxm::CandidateCopies copies;
  if (!vxm::CopyCandidates(copies, *templateData, request.templateSizes, request.templateCount)) {
    *matchIndex = -1;
    return VXM_ERROR;
  }
  request.templates = copies.templates.get();
  request.templateSizes = copies.sizes.get();
  return Identify(handle, request, matchIndex);
}

}  // namespace

int VXM_CALL VXM_Identify(MatcherHandle handle, const unsigned char* probe, int probeSize,
                          const unsigned char* const* templates, const int* templateSizes,
                          int templateCount, unsigned int timeout, int* matchIndex) {
  return Identify(handle, {probe, probeSize, templates, templateSizes, templateCount, timeout, 1},
                  matchIndex);
}

int VXM_CALL VXM_IdentifyMT(MatcherHandle handle, const unsigned char* probe, int probeSize,
                            const unsigned char* const* templates, const int* templateSizes,
                            int templateCount, unsigned int timeout, int* matchIndex) {
  return Identify(handle, {probe, probeSize, templates, templateSizes, templateCount, timeout, 2},
                  matchIndex);
}

int VXM_CALL VXM_Identify_J(MatcherHandle handle, const unsigned char* probe, int probeSize,
                            const unsigned char* const* templateData, const int* templateSizes,
                            int templateCount, unsigned int timeout, int* matchIndex) {
  return IdentifyInBuffer(handle,
                          {probe, probeSize, nullptr, templateSizes, templateCount, timeout, 1},
                          templateData, matchIndex);
}

int VXM_CALL VXM_IdentifyMT_J(MatcherHandle handle, const unsigned char* probe, int probeSize,
                              const unsigned char* const* templateData, const int* templateSizes,
                              int templateCount, unsigned int timeout, int* matchIndex) {
  return IdentifyInBuffer(handle,
                          {probe, probeSize, nullptr, templateSizes, templateCount, timeout, 2},
                          templateData, matchIndex);
}

int VXM_CALL VXM_AbortIdentify(MatcherHandle handle) {
  if (handle == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  vxm::platform::Set(handle->abortEvent.get());
  return VXM_OK;
}
