/* A host in plain C: fails when the library it runs with is not of the version
   given as the argument. */
#include <stdio.h>
#include <string.h>
#include <vxmkit.h>

int main(int argc, char** argv) {
  MatcherHandle matcher;
  char text[VXM_PARAMETER_TEXT_SIZE];
  int status = VXM_Create(&matcher);
  if (status != VXM_OK) return 2;
  status = VXM_GetParameter(matcher, VXM_PARAM_VERSION, text);
  VXM_Delete(matcher);
  if (status != VXM_OK || argc != 2 || strstr(text, argv[1]) == NULL) return 1;
  puts(text);
  return 0;
}
