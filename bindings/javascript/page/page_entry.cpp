// What the page asks of the inside of the library, as functions of a WebAssembly module:
// what a template is, why two score what they score, records in other forms, and made
// templates to try it with.
//
// Answers are JSON in UTF-8, and stay until the next call. What vxm-explain prints goes to
// standard output, which the page takes. Nothing can be caught here, so what could fail
// is asked before.
#include <synth.h>

#include <algorithm>
#include <cstdio>

#include "explanation_output.h"
#include "vxmrecords.h"

namespace {

std::string answer;
std::vector<uint8_t> converted;

const char* Answer(const Json& json) {
  answer = json.dump(-1, ' ', false, Json::error_handler_t::replace);
  return answer.c_str();
}

TemplateFile FileOf(const char* name, const uint8_t* bytes, int size) {
  TemplateFile file;
  file.name = name;
  file.bytes.assign(bytes, bytes + size);
  file.inspection = Inspect(file.bytes);
  return file;
}

Json InspectionJson(const TemplateFile& file) {
  const Inspection& found = file.inspection;
  return {{"size", file.Size()},          {"width", found.width},     {"height", found.height},
          {"attribute", found.attribute}, {"recordForm", found.form}, {"held", found.minutiae}};
}

Json LossesJson(const VXR_Losses& losses) {
  return {{"minutiae outside the image", losses.minutiaeOutside},
          {"minutiae beyond the most", losses.minutiaePruned},
          {"positions rounded", losses.positionsRounded},
          {"angles rounded", losses.anglesRounded},
          {"types dropped", losses.typesDropped},
          {"qualities dropped", losses.qualitiesDropped},
          {"blocks of extended data dropped", losses.extendedDropped},
          {"views dropped", losses.viewsDropped},
          {"fields dropped", losses.fieldsDropped}};
}

// Into `converted`; false: the fault says why.
bool Convert(const VXR_Record& record, const VXR_Conversion& wanted, VXR_Losses& losses,
             VXR_Fault& fault) {
  VXR_Record* made = nullptr;
  if (VXR_Convert(&record, &wanted, &made, &losses, &fault) != VXR_OK) return false;
  size_t size = 0;
  VXR_Write(made, nullptr, 0, &size, nullptr);
  converted.resize(size);
  const bool written = VXR_Write(made, converted.data(), size, &size, &fault) == VXR_OK;
  VXR_Free(made);
  return written;
}

std::vector<uint8_t> Encode(const vxmsynth::Impression& impression, int type, int variant) {
  const auto place = static_cast<vxmsynth::AttributePlace>(variant % 3);
  switch (type) {
    case 2002: return EncodeIso(impression, place);
    case 2003: return EncodeAnsi(impression, place);
    default: return EncodeNative(impression, static_cast<vxmsynth::NativeForm>(variant % 4));
  }
}

}  // namespace

extern "C" {

// The template as the engine sees it, or {"fault": why it is none}.
const char* PageTell(const char* name, const uint8_t* bytes, int size) {
  TemplateFile file = FileOf(name, bytes, size);
  if (!file.inspection.fault.empty()) return Answer({{"fault", FaultText(file.inspection)}});
  Json told = InspectionJson(file);
  told.update(TemplateJson(LoadForEngine(std::move(file))));
  return Answer(told);
}

// How two templates compare that PageTell found to be valid and of one format; prints
// what vxm-explain prints.
const char* PageExplain(const char* probeName, const uint8_t* probe, int probeSize,
                        const char* referenceName, const uint8_t* reference, int referenceSize) {
  const LoadedFile first = LoadForEngine(FileOf(probeName, probe, probeSize));
  const LoadedFile second = LoadForEngine(FileOf(referenceName, reference, referenceSize));
  const Explanation told = ExplainFiles(first, second);
  PrintTemplate(first);
  PrintTemplate(second);
  PrintExplanation(told);
  std::fflush(stdout);
  return Answer(ComparisonJson(first, second, told));
}

// The form of a record by its bytes; 0: they do not tell.
int PageTellForm(const uint8_t* bytes, int size) {
  return VXR_TellForm(bytes, static_cast<size_t>(size));
}

// A record of one form in another; view -1: all of them, resolution 0: its own. The image
// is for forms without a header. The answer says where the bytes are, or the fault.
const char* PageConvert(const uint8_t* bytes, int size, int form, int width, int height,
                        int imageResolution, int wantedForm, int view, int resolution) {
  const VXR_Image image = {static_cast<uint16_t>(width), static_cast<uint16_t>(height),
                           static_cast<uint16_t>(imageResolution)};
  VXR_Conversion wanted = {};
  wanted.form = wantedForm;
  wanted.view = view;
  wanted.resolution = resolution;
  wanted.keepExtended = 1;
  VXR_Record* record = nullptr;
  VXR_Losses losses = {};
  VXR_Fault fault = {};
  const bool done =
      VXR_Read(bytes, static_cast<size_t>(size), form, &image, &record, &fault) == VXR_OK &&
      Convert(*record, wanted, losses, fault);
  VXR_Free(record);
  if (!done) return Answer({{"fault", fault.text}});
  return Answer({{"address", reinterpret_cast<uintptr_t>(converted.data())},
                 {"size", converted.size()},
                 {"from", VXR_FormName(form)},
                 {"losses", LossesJson(losses)}});
}

// A made template into `room`, which must hold 8 KiB; gives its size. The numbers are
// those of the finger maker (synth.h); `variant` chooses among the forms of a format.
int PageMake(int seed, int minutiae, int impression, int areaPercent, int rotation, int turned,
             int type, int variant, uint8_t* room) {
  vxmsynth::ImpressionSettings settings;
  settings.areaPercent = areaPercent;
  settings.rotation = rotation;
  vxmsynth::Impression made =
      MakeImpression(vxmsynth::MakeFinger(static_cast<uint64_t>(seed), minutiae),
                     static_cast<uint64_t>(impression), settings);
  if (turned != 0) made = TurnImpression(made);
  const std::vector<uint8_t> bytes = Encode(made, type, variant);
  std::copy(bytes.begin(), bytes.end(), room);
  return static_cast<int>(bytes.size());
}

}  // extern "C"
