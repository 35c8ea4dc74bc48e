// The one way from bytes to a workspace: recognise, check, load.
#include "templates/load.h"

#include "templates/native_template.h"

namespace vxm {

LoadOutcome LoadTemplate(TemplateFormat expected, const uint8_t* bytes, int size,
                         MatchWorkspace& workspace) {
  if (RecogniseFormat(bytes, size) != expected) return LoadOutcome::wrongFormat;
  if (expected != TemplateFormat::native) {
    LoadRecord(LayoutOf(expected), bytes, size, workspace);
    return LoadOutcome::loaded;
  }
  if (!CheckNativeTemplate(bytes, size)) return LoadOutcome::invalid;
  LoadNativeTemplate(workspace, bytes);
  return LoadOutcome::loaded;
}

}  // namespace vxm
