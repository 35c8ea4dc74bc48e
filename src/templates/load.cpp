// The way from bytes to a workspace: recognise, check, load.
#include "templates/load.h"

#include "templates/native_template.h"

namespace vxm {

bool LoadInPlace(TemplateFormat format, const uint8_t* bytes, int size, MatchWorkspace& workspace) {
  if (format != TemplateFormat::native) {
    LoadRecord(LayoutOf(format), bytes, size, workspace);
    return true;
  }
  if (!CheckNativeTemplate(bytes, size)) return false;
  LoadNativeTemplate(workspace, bytes);
  return true;
}

bool LoadAs(TemplateFormat format, const uint8_t* bytes, int size, MatchWorkspace& workspace) {
  if (!LoadInPlace(format, bytes, size, workspace)) return false;
  CopyBlocks(workspace);
  return true;
}

LoadOutcome LoadTemplate(TemplateFormat expected, const uint8_t* bytes, int size,
                         MatchWorkspace& workspace) {
  if (RecogniseFormat(bytes, size) != expected) return LoadOutcome::wrongFormat;
  return LoadAs(expected, bytes, size, workspace) ? LoadOutcome::loaded : LoadOutcome::invalid;
}

}  // namespace vxm
