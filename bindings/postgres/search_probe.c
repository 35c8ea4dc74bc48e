#include <postgres.h>

#include "search_probe.h"

void* CopyBytes(MemoryContext context, const void* bytes, Size size) {
  return memcpy(MemoryContextAlloc(context, size), bytes, size);
}

/* Equal bytes are the same probe: of a toasted one the pointer is compared. */
bool IsOfSearch(const Search* search, const struct varlena* probe, const Settings* settings) {
  return search->argument != NULL && SameSettings(&search->settings, settings) &&
         (!VARATT_IS_EXTERNAL(probe) || VARATT_IS_EXTERNAL_ONDISK(probe)) &&
         VARSIZE_ANY(probe) == VARSIZE_ANY(search->argument) &&
         memcmp(probe, search->argument, VARSIZE_ANY(probe)) == 0;
}

void BeginSearch(Search* search, MemoryContext context, const struct varlena* probe,
                 const Settings* settings) {
  const Template source = TemplateFromDatum(PointerGetDatum(probe));
  Search begun = {*settings, source, NULL, 0};
  RequireValid(&source, "probe");
  begun.probe.bytes = CopyBytes(context, source.bytes, (Size)source.size);
  begun.argument = CopyBytes(context, probe, VARSIZE_ANY(probe));
  if (search->argument != NULL) {
    pfree(unconstify(void*, search->argument));
    pfree(unconstify(unsigned char*, search->probe.bytes));
  }
  *search = begun;
}
