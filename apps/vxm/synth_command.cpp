// vxm synth: templates of made-up fingers, the same for the same arguments on
// every system.
#include <algorithm>
#include <map>
#include <memory>

#include "commands.h"
#include "difficulty.h"
#include "failure.h"
#include "files.h"
#include "progress.h"
#include "usage.h"

namespace {

enum class Output { native, iso, ansi, all };

struct SynthOptions {
  std::string folder;
  int fingers = 10;
  int impressions = 4;
  uint64_t seed = 1;
  Output format = Output::native;
  vxmsynth::NativeForm form = vxmsynth::NativeForm::fullBytes;
  vxmsynth::Difficulty difficulty = vxmsynth::Difficulty::plain;
  vxmsynth::ImpressionSettings settings;  // of plain impressions, and the rotation of all
  bool turned = false;
};

const std::map<std::string, Output> outputs = {
    {"native", Output::native}, {"iso", Output::iso}, {"ansi", Output::ansi}, {"all", Output::all}};

const std::map<std::string, vxmsynth::NativeForm> forms = {
    {"full-bytes", vxmsynth::NativeForm::fullBytes},
    {"full-codes", vxmsynth::NativeForm::fullCodes},
    {"short-bytes", vxmsynth::NativeForm::shortBytes},
    {"short-codes", vxmsynth::NativeForm::shortCodes}};

const std::map<std::string, vxmsynth::Difficulty> difficulties = {
    {"plain", vxmsynth::Difficulty::plain},
    {"easy", vxmsynth::Difficulty::easy},
    {"medium", vxmsynth::Difficulty::medium},
    {"hard", vxmsynth::Difficulty::hard}};

// "007_2": finger and impression, counted from 1, in order when sorted by name.
std::string FileStem(const SynthOptions& options, int finger, int impression) {
  const auto padded = [](int number, int highest, size_t least) {
    const std::string digits = std::to_string(number);
    const size_t width = std::max(std::to_string(highest).size(), least);
    return std::string(width - digits.size(), '0') + digits;
  };
  return padded(finger, options.fingers, 3) + "_" + padded(impression, options.impressions, 1);
}

// Files made beside their folder or in a corner of it. They come to their names when
// all are there; before, they go again with what holds them.
class UnfinishedFiles {
 public:
  explicit UnfinishedFiles(std::string folder) : folder_(std::move(folder)) {
    std::error_code fault;
    const FileKind kind = KindOf(folder_, fault);
    folderWasThere_ = kind == FileKind::folder;
    // Not all systems keep a folder from taking a file's place.
    if (!folderWasThere_ && kind != FileKind::missing) {
      throw Failure(folder_ + ": cannot be made: a file has this name");
    }
    if (!folderWasThere_) MakeFolder(FolderOf(folder_));
    work_ = UnfinishedName(folderWasThere_ ? InFolder(folder_, "any") : folder_);
    MakeFolder(work_);
  }
  ~UnfinishedFiles() {
    for (const std::string& name : names_) RemoveFile(InFolder(work_, name));
    RemoveEmptyFolder(work_);
  }
  UnfinishedFiles(const UnfinishedFiles&) = delete;
  UnfinishedFiles& operator=(const UnfinishedFiles&) = delete;

  void Add(const std::string& name, const Bytes& bytes) {
    names_.push_back(name);
    WriteNewFile(InFolder(work_, name), bytes);
  }

  void Finish() {
    if (!folderWasThere_) {
      Move(work_, folder_);
      names_.clear();
    }
    for (const std::string& name : names_) Move(InFolder(work_, name), InFolder(folder_, name));
  }

 private:
  static void Move(const std::string& from, const std::string& to) {
    const std::error_code fault = MoveOver(from, to);
    if (fault) throw Failure(to + ": cannot be made: " + fault.message());
  }

  std::string folder_;
  bool folderWasThere_ = false;
  std::string work_;
  std::vector<std::string> names_;
};

vxmsynth::Impression Impression(const SynthOptions& options, const vxmsynth::Finger& finger,
                                int number, vxmsynth::Extractor extractor) {
  const auto seed = static_cast<uint64_t>(number);
  vxmsynth::ImpressionSettings settings = options.settings;
  if (options.difficulty != vxmsynth::Difficulty::plain) {
    settings = ImpressionOf(options.difficulty, extractor, finger, seed);
    settings.rotation = options.settings.rotation;
  }
  const vxmsynth::Impression impression = MakeImpression(finger, seed, settings);
  return options.turned ? TurnImpression(impression) : impression;
}

void WriteImpression(const SynthOptions& options, const vxmsynth::Finger& finger, int number,
                     const std::string& stem, UnfinishedFiles& files) {
  const auto wanted = [&](Output format) {
    return options.format == format || options.format == Output::all;
  };
  if (wanted(Output::native)) {
    const auto seen = Impression(options, finger, number, vxmsynth::Extractor::coarse);
    files.Add(stem + ".vxt", EncodeNative(seen, options.form));
  }
  if (options.format == Output::native) return;
  const auto seen = Impression(options, finger, number, vxmsynth::Extractor::careful);
  if (wanted(Output::iso)) files.Add(stem + ".iso", EncodeIso(seen));
  if (wanted(Output::ansi)) files.Add(stem + ".ansi", EncodeAnsi(seen));
}

int Synth(const SynthOptions& options) {
  const StopCheck stop;
  UnfinishedFiles files(options.folder);
  const auto total =
      static_cast<size_t>(options.fingers) * static_cast<size_t>(options.impressions);
  Progress progress("making templates", total);
  for (int f = 1; f <= options.fingers; ++f) {
    const uint64_t seed = vxmsynth::DeriveSeed(options.seed, static_cast<uint64_t>(f));
    const vxmsynth::Finger finger = MakeFinger(seed, vxmsynth::FingersOf(options.difficulty));
    for (int i = 1; i <= options.impressions; ++i) {
      stop.Here();
      WriteImpression(options, finger, i, FileStem(options, f, i), files);
      progress.Step();
    }
  }
  files.Finish();
  return ExitCode::success;
}

}  // namespace

void AddSynth(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("synth", "Make templates of made-up fingers");
  command->footer(
      "Writes FINGER_IMPRESSION with .vxt (native), .iso or .ansi into OUTDIR, which is made if "
      "missing;\nfiles of these names are replaced, all of them or, after an error or Ctrl-C, "
      "none. "
      "The same\narguments give the same bytes everywhere.\n"
      "Exit codes: 0 done, 2 error, 3 stopped by Ctrl-C.\n"
      "Example: vxm synth fingers --fingers 100 --impressions 2 --seed 7");
  auto options = std::make_shared<SynthOptions>();
  command->add_option("OUTDIR", options->folder, "Folder to write to")->required();
  AddNumber(*command, "--fingers", options->fingers, 1, 1000000, "Number of fingers");
  AddNumber(*command, "--impressions", options->impressions, 1, 1000, "Impressions of each finger");
  AddNumber(*command, "--seed", options->seed, 0, UINT64_MAX, "What to draw from");
  AddName(*command, "--format", options->format, outputs, "Formats to write (default native)");
  AddName(*command, "--form", options->form, forms,
          "Of native templates: size of records and of map blocks (default full-bytes)");
  vxmsynth::ImpressionSettings& settings = options->settings;
  AddNumber(*command, "--rotation", settings.rotation, -180, 180,
            "Degrees that every impression is turned by");
  auto* difficulty =
      AddName(*command, "--difficulty", options->difficulty, difficulties,
              "How hard to tell apart: plain are clear, the others like real ones (default plain)");
  AddNumber(*command, "--max-rotation", settings.maxRotation, 0, 180,
            "Further degrees at most, either way")
      ->excludes(difficulty);
  AddNumber(*command, "--max-shift", settings.maxShift, 0, 200, "Shift at most, in pixels")
      ->excludes(difficulty);
  AddNumber(*command, "--area", settings.areaPercent, 10, 200,
            "Contact area's side lengths in percent")
      ->excludes(difficulty);
  command->add_flag("--turned", options->turned, "Turn every impression by exactly 180 degrees");
  command->callback([options, &exitCode] { exitCode = Synth(*options); });
}
