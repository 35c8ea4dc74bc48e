// vxm synth: templates of made-up fingers, the same for the same arguments on
// every system.
#include <cstdio>
#include <map>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "files.h"
#include "progress.h"
#include "synth.h"

namespace {

enum class Output { native, iso, ansi, all };

struct SynthOptions {
  std::string folder;
  int fingers = 10;
  int impressions = 4;
  uint64_t seed = 1;
  Output format = Output::native;
  vxmsynth::NativeForm form = vxmsynth::NativeForm::fullBytes;
  vxmsynth::ImpressionSettings settings;
  bool turned = false;
};

const std::map<std::string, Output> outputs = {
    {"native", Output::native}, {"iso", Output::iso}, {"ansi", Output::ansi}, {"all", Output::all}};

const std::map<std::string, vxmsynth::NativeForm> forms = {
    {"full-bytes", vxmsynth::NativeForm::fullBytes},
    {"full-codes", vxmsynth::NativeForm::fullCodes},
    {"short-bytes", vxmsynth::NativeForm::shortBytes},
    {"short-codes", vxmsynth::NativeForm::shortCodes}};

// "007_2": finger and impression, counted from 1, in order when sorted by name.
std::string FileStem(const SynthOptions& options, int finger, int impression) {
  const auto padded = [](int number, int highest, size_t least) {
    const std::string digits = std::to_string(number);
    const size_t width = std::max(std::to_string(highest).size(), least);
    return std::string(width - digits.size(), '0') + digits;
  };
  return padded(finger, options.fingers, 3) + "_" + padded(impression, options.impressions, 1);
}

void WriteImpression(const SynthOptions& options, const std::string& stem,
                     const vxmsynth::Impression& impression) {
  const auto write = [&](Output format, const char* extension, const Bytes& bytes) {
    if (options.format == format || options.format == Output::all) {
      ReplaceFile(stem + extension, bytes);
    }
  };
  write(Output::native, ".vxt", EncodeNative(impression, options.form));
  write(Output::iso, ".iso", EncodeIso(impression));
  write(Output::ansi, ".ansi", EncodeAnsi(impression));
}

int Synth(const SynthOptions& options) {
  MakeFolder(options.folder);
  const auto total =
      static_cast<size_t>(options.fingers) * static_cast<size_t>(options.impressions);
  Progress progress("making templates", total);
  for (int f = 1; f <= options.fingers; ++f) {
    const uint64_t seed = vxmsynth::DeriveSeed(options.seed, static_cast<uint64_t>(f));
    const vxmsynth::Finger finger = vxmsynth::MakeFinger(seed);
    for (int i = 1; i <= options.impressions; ++i) {
      vxmsynth::Impression impression =
          MakeImpression(finger, static_cast<uint64_t>(i), options.settings);
      if (options.turned) impression = TurnImpression(impression);
      WriteImpression(options, options.folder + "/" + FileStem(options, f, i), impression);
      progress.Step();
    }
  }
  return ExitCode::success;
}

}  // namespace

void AddSynth(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("synth", "Make templates of made-up fingers");
  command->footer(
      "Writes FINGER_IMPRESSION with .vxt (native), .iso or .ansi into OUTDIR, which is made if "
      "missing;\nfiles of these names are replaced. The same arguments give the same bytes "
      "everywhere.\nExit codes: 0 done, 2 error.");
  auto options = std::make_shared<SynthOptions>();
  const auto number = [&](const char* name, int& value, int low, int high, const char* text) {
    command->add_option(name, value, text)->check(CLI::Range(low, high))->capture_default_str();
  };
  command->add_option("OUTDIR", options->folder, "Folder to write to")->required();
  number("--fingers", options->fingers, 1, 1000000, "Number of fingers");
  number("--impressions", options->impressions, 1, 1000, "Impressions of each finger");
  command->add_option("--seed", options->seed, "What to draw from")->capture_default_str();
  command->add_option("--format", options->format, "native, iso, ansi or all (default native)")
      ->transform(CLI::Transformer(outputs).description(""))
      ->type_name("NAME");
  command
      ->add_option("--form", options->form,
                   "Of native templates: full-bytes, full-codes, short-bytes or short-codes: "
                   "size of records and of map blocks (default full-bytes)")
      ->transform(CLI::Transformer(forms).description(""))
      ->type_name("NAME");
  vxmsynth::ImpressionSettings& settings = options->settings;
  number("--rotation", settings.rotation, -180, 180, "Degrees that every impression is turned by");
  number("--max-rotation", settings.maxRotation, 0, 180, "Further degrees at most, either way");
  number("--max-shift", settings.maxShift, 0, 200, "Shift at most, in pixels");
  number("--area", settings.areaPercent, 10, 200, "Contact area's side lengths in percent");
  command->add_flag("--turned", options->turned, "Turn every impression by exactly 180 degrees");
  command->callback([options, &exitCode] { exitCode = Synth(*options); });
}
