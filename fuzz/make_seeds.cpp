// Writes the inputs that fuzzing begins with into a folder: made fingers in every
// format and form, alike and unlike, whole and cut, sparse and crowded.
#include <synth.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz_input.h"
#include "vxmrecords.h"

namespace {

using fuzz::Bytes;
using vxmsynth::AttributePlace;
using vxmsynth::NativeForm;

Bytes Encode(size_t type, const vxmsynth::Impression& impression, int form = 0) {
  switch (type) {
    case 1: return vxmsynth::EncodeIso(impression, static_cast<AttributePlace>(form % 3));
    case 2: return vxmsynth::EncodeAnsi(impression, static_cast<AttributePlace>(form % 3));
    default: return vxmsynth::EncodeNative(impression, static_cast<NativeForm>(form));
  }
}

vxmsynth::Impression Touch(uint64_t finger, uint64_t impression, int rotation = 0) {
  vxmsynth::ImpressionSettings settings;
  settings.gridWidth = settings.gridHeight = 9;
  settings.rotation = rotation;
  return vxmsynth::MakeImpression(vxmsynth::MakeFinger(finger, 60), impression, settings);
}

// All in one place, in two, or on a lattice, so that many distances are equal.
vxmsynth::Impression Crowd(int count, int step, int grid, int columns = 20) {
  vxmsynth::Impression crowd = {grid, grid, 77, {}, Bytes(static_cast<size_t>(grid * grid), 40)};
  for (int i = 0; i < count; i++) {
    crowd.minutiae.push_back({30 + i % columns * step, 30 + i / 20 * step, i * 24 % 360,
                              vxmsynth::MinutiaType::ridgeEnding, i % 128});
  }
  return crowd;
}

// The record in another form.
Bytes InForm(const Bytes& record, int form) {
  VXR_Record* read = nullptr;
  VXR_Record* converted = nullptr;
  VXR_Conversion wanted = {};
  wanted.form = form;
  const int told = VXR_TellForm(record.data(), record.size());
  fuzz::Require(VXR_Read(record.data(), record.size(), told, nullptr, &read, nullptr) == VXR_OK &&
                    VXR_Convert(read, &wanted, &converted, nullptr, nullptr) == VXR_OK,
                "a made record is one of any form");
  size_t size = 0;
  VXR_Write(converted, nullptr, 0, &size, nullptr);
  Bytes bytes(size);
  VXR_Write(converted, bytes.data(), bytes.size(), &size, nullptr);
  VXR_Free(read);
  VXR_Free(converted);
  return bytes;
}

}  // namespace

int main(int count, char** arguments) {
  fuzz::Require(count == 2, "make_seeds FOLDER");
  const std::filesystem::path folder = arguments[1];
  std::filesystem::create_directories(folder);
  const auto put = [&](const std::string& name, const fuzz::Input& input) {
    const Bytes bytes = fuzz::Write(input);
    std::ofstream file(folder / name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    fuzz::Require(file.good(), "a seed is written");
  };
  constexpr const char* names[] = {"native", "iso", "ansi"};
  for (size_t type = 0; type < 3; type++) {
    const std::string name = names[type];
    const uint8_t usual = fuzz::SettingsByte(type, 4, true, false);
    const Bytes probe = Encode(type, Touch(1, 1));
    const Bytes mate = Encode(type, Touch(1, 2));
    const Bytes impostor = Encode(type, Touch(2, 1));
    Bytes cut = mate;
    cut.resize(cut.size() / 2);
    Bytes padded = mate;
    padded.resize(padded.size() + 100);
    put(name + "_gallery", {usual, {probe, impostor, mate, {}, cut, impostor, padded}});
    const uint8_t thorough = fuzz::SettingsByte(type, 1, false, true);
    put(name + "_thorough", {thorough, {probe, mate, impostor}});
    put(name + "_turned", {fuzz::SettingsByte(type, 7, true, true),
                           {Encode(type, Touch(1, 1, 180)), mate, impostor}});
    put(name + "_impostors", {usual, {probe, impostor}});
    put(name + "_mixed", {usual, {probe, Encode((type + 1) % 3, Touch(1, 2)), mate}});
    put(name + "_crowd", {usual, {Encode(type, Crowd(120, 0, 9)), Encode(type, Crowd(60, 9, 15))}});
    put(name + "_sparse", {usual, {Encode(type, Crowd(3, 9, 5)), Encode(type, Crowd(4, 30, 9))}});
    const Bytes largest = Encode(type, Crowd(200, 30, 63));
    put(name + "_largest", {usual, {largest, mate}});
    put(name + "_heaps", {thorough, {largest, Encode(type, Crowd(20, 600, 63, 2))}});
    for (int form = 1; form < (type == 0 ? 4 : 3); form++) {
      put(name + "_form" + std::to_string(form),
          {usual, {Encode(type, Touch(3, 1), form), Encode(type, Touch(3, 2), form)}});
    }
  }
  for (int form = VXR_ANSI_2004; form <= VXR_XYT; form++) {
    put("form_" + std::string(VXR_FormName(form)),
        {static_cast<uint8_t>(form), {InForm(Encode(1, Touch(4, 1)), form)}});
  }
  return 0;
}
