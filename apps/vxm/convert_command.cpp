// vxm convert: records from one form into another.
#include <cstdio>
#include <memory>
#include <set>

#include "commands.h"
#include "failure.h"
#include "json_output.h"
#include "program.h"
#include "progress.h"
#include "record_file.h"
#include "usage.h"

namespace {

struct ConvertOptions {
  std::vector<std::string> names;  // the last one is where to
  std::string to;
  std::string from;
  std::string fromSize;
  std::string size;
  VXR_Order order = VXR_ORDER_KEPT;
  VXR_Image image = {};
  VXR_Conversion wanted = {};
  int fromForm = VXR_UNKNOWN;
  int fromResolution = 0;
  int view = 0;  // from 1; 0: all
  bool split = false;
  bool descending = false;
  bool keepExtended = false;
  bool strict = false;
  bool force = false;
  bool json = false;
};

struct Outcome {
  Json files = Json::array();
  std::vector<LeftOut> lost;
  std::vector<LeftOut> notConverted;
  VXR_Losses losses = {};
  size_t written = 0;
};

struct Target {
  std::string name;
  VXR_Losses losses = {};
  Bytes bytes;
};

const char* SuffixOf(int form) {
  switch (form) {
    case VXR_ISO_2005:
    case VXR_ISO_2011: return ".iso";
    case VXR_ISO_CARD: return ".card";
    case VXR_ISO_CARD_COMPACT: return ".compact";
    case VXR_XYT: return ".xyt";
    default: return ".ansi";
  }
}

// "WIDTHxHEIGHT"; nothing for an empty text.
void ReadSize(const std::string& option, const std::string& text, int& width, int& height) {
  char end = 0;
  if (text.empty()) return;
  const int read = std::sscanf(text.c_str(), "%5dx%5d%c", &width, &height, &end);
  const auto isSize = [](int value) { return value >= 1 && value <= 0xFFFF; };
  if (read != 2 || !isSize(width) || !isSize(height)) {
    throw Failure(option + ": '" + text + "' is no WIDTHxHEIGHT in pixels, such as 300x400");
  }
}

void Settle(ConvertOptions& options) {
  VXR_Conversion& wanted = options.wanted;
  wanted.form = FormNamed("--to", options.to);
  if (!options.from.empty()) options.fromForm = FormNamed("--from", options.from);
  int width = 0;
  int height = 0;
  ReadSize("--from-size", options.fromSize, width, height);
  options.image = {static_cast<uint16_t>(width), static_cast<uint16_t>(height),
                   static_cast<uint16_t>(options.fromResolution)};
  ReadSize("--size", options.size, wanted.width, wanted.height);
  wanted.order = options.order;
  wanted.view = options.view - 1;
  wanted.descending = options.descending;
  wanted.keepExtended = options.keepExtended;
}

int FormOf(const ConvertOptions& options, const std::string& name, const Bytes& bytes) {
  if (options.fromForm != VXR_UNKNOWN) return options.fromForm;
  const int form = VXR_TellForm(bytes.data(), bytes.size());
  if (form != VXR_UNKNOWN) return form;
  throw FileFailure(name, "no record of a known form; of those without a header --from names it");
}

void RequireFree(const ConvertOptions& options, const std::string& name) {
  std::error_code fault;
  if (options.force || name == streamName || KindOf(name, fault) != FileKind::file) return;
  throw FileFailure(name, "is there already (--force writes over it)");
}

// Each file becomes one, or with --split one for each view.
class Converter {
 public:
  Converter(const ConvertOptions& options, Outcome& outcome)
      : options_(options), outcome_(outcome) {}

  // `target` is the name of the new file, or with --split what that begins with.
  void Convert(const std::string& name, const std::string& target) {
    try {
      const Bytes bytes = ReadStart(name);
      if (bytes.size() > largestTemplateFile) throw FileFailure(name, "too large for a record");
      const int form = FormOf(options_, name, bytes);
      const Record record = ReadRecord(name, bytes, form, options_.image);
      const std::vector<Target> targets = Targets(name, *record, target);
      for (const Target& each : targets) Write(name, *record, each);
    } catch (const FileFailure& failure) {
      outcome_.notConverted.push_back({failure.name, failure.reason});
    }
  }

 private:
  // All before the first is written, so that a file is converted as a whole or not.
  std::vector<Target> Targets(const std::string& name, const VXR_Record& record,
                              const std::string& target) {
    std::vector<Target> targets;
    const uint32_t parts = options_.split ? record.viewCount : 1;
    for (uint32_t i = 0; i < parts; ++i) {
      VXR_Conversion wanted = options_.wanted;
      Target made = {target, {}, {}};
      if (options_.split) {
        wanted.view = static_cast<int>(i);
        made.name += "_" + std::to_string(i + 1) + SuffixOf(wanted.form);
      }
      made.bytes = WriteRecord(name, *ConvertRecord(name, record, wanted, made.losses));
      if (options_.split) made.losses.viewsDropped = 0;
      const std::string lost = TextOf(made.losses);
      if (options_.strict && !lost.empty()) throw FileFailure(name, "would lose " + lost);
      if (!names_.insert(made.name).second) {
        throw FileFailure(name, "would become " + made.name + ", as another file does");
      }
      RequireFree(options_, made.name);
      targets.push_back(std::move(made));
    }
    return targets;
  }

  void Write(const std::string& name, const VXR_Record& record, const Target& target) {
    ReplaceFile(target.name, target.bytes);
    const std::string lost = TextOf(target.losses);
    if (!lost.empty()) outcome_.lost.push_back({name, lost});
    outcome_.losses += target.losses;
    ++outcome_.written;
    Json losses = Json::object();
    for (const NamedCount& each : CountsOf(target.losses)) losses[each.name] = each.count;
    outcome_.files.push_back({{"file", name},
                              {"from", VXR_FormName(record.form)},
                              {"out", target.name},
                              {"to", VXR_FormName(options_.wanted.form)},
                              {"size", target.bytes.size()},
                              {"lost", std::move(losses)}});
  }

  const ConvertOptions& options_;
  Outcome& outcome_;
  std::set<std::string> names_;
};

// Where a file of a folder goes: to the same place below another one.
std::string Below(const std::string& folder, const std::string& name,
                  const std::vector<std::string>& inputs) {
  for (const std::string& input : inputs) {
    if (name.size() > input.size() + 1 && name.compare(0, input.size(), input) == 0) {
      const size_t rest = IsSeparator(name[input.size()]) ? input.size() + 1 : input.size();
      return InFolder(folder, WithoutSuffix(name.substr(rest)));
    }
  }
  return InFolder(folder, StemOf(name));
}

void ConvertAll(const ConvertOptions& options, Outcome& outcome, const StopCheck& stop) {
  std::vector<std::string> inputs(options.names.begin(), options.names.end() - 1);
  const std::string& out = options.names.back();
  const std::vector<std::string> files = ListFiles(inputs, stop, outcome.notConverted);
  std::error_code fault;
  const FileKind kind = KindOf(out, fault);
  const bool single = files.size() == 1 && files[0] == inputs[0] && kind != FileKind::folder;
  if (!single && kind != FileKind::folder && kind != FileKind::missing) {
    throw Failure(out + ": is no folder, and there are " + std::to_string(files.size()) + " files");
  }
  Converter converter(options, outcome);
  if (single) {
    if (options.split && out == streamName) throw Failure("--split needs names to write to");
    return converter.Convert(files[0], options.split ? WithoutSuffix(out) : out);
  }
  Progress progress("converting", files.size());
  for (const std::string& name : files) {
    stop.Here();
    const std::string target = Below(out, name, inputs);
    MakeFolder(FolderOf(target));
    converter.Convert(name, options.split ? target : target + SuffixOf(options.wanted.form));
    progress.Step();
  }
}

int Convert(ConvertOptions& options) {
  const StopCheck stop;
  if (options.names.size() < 2) throw Failure("convert: IN and OUT are needed");
  Settle(options);
  Outcome outcome;
  ConvertAll(options, outcome, stop);
  TellLeftOut("not converted", outcome.notConverted);
  TellLeftOut("lost", outcome.lost);
  if (options.json) {
    PrintJson({{"converted", outcome.files}, {"notConverted", LeftOutJson(outcome.notConverted)}});
  } else if (options.names.back() != streamName) {
    const std::string lost = TextOf(outcome.losses);
    std::printf("%zu written as %s, %zu not converted; lost: %s\n", outcome.written,
                VXR_FormName(options.wanted.form), outcome.notConverted.size(),
                lost.empty() ? "nothing" : lost.c_str());
  }
  if (outcome.notConverted.empty()) return ExitCode::success;
  return outcome.written == 0 ? ExitCode::error : ExitCode::incomplete;
}

}  // namespace

void AddConvert(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("convert", "Convert records from one form into another");
  command->footer(
      "OUT is a folder where there are several files. The form of a file is told by its bytes,\n"
      "but of cards and xyt, which --from names. Forms: " +
      FormNames() +
      ".\n"
      "Exit codes: 0 done, 2 error, 3 stopped by Ctrl-C, 4 some were not converted, and are "
      "named.");
  auto options = std::make_shared<ConvertOptions>();
  command->add_option("FILE", options->names, "IN... OUT: records, folders of them; where to")
      ->required();
  command->add_option("--to", options->to, "Form to convert to")->required();
  command->add_option("--from", options->from, "Form of the files, for those without a header");
  command->add_option("--from-size", options->fromSize,
                      "WIDTHxHEIGHT of their images, which a form without a header does not tell");
  AddNumber(*command, "--from-resolution", options->fromResolution, 0, 65535,
            "Their resolution in pixels per cm, 0: 197");
  AddNumber(*command, "--resolution", options->wanted.resolution, 0, 65535,
            "New resolution of both axes in pixels per cm, 0 keeps; the matcher wants 197");
  command->add_option("--size", options->size, "WIDTHxHEIGHT of the new image");
  auto* view = AddNumber(*command, "--view", options->view, 0, 65535,
                         "The one view to take, from 1; 0: all");
  command->add_flag("--split", options->split, "Write a record for each view: OUT_1, OUT_2, ...")
      ->excludes(view);
  AddNumber(*command, "--max-minutiae", options->wanted.maxMinutiae, 0, 255,
            "Keep of each view so many, nearest to their centroid; 0: all");
  AddName(*command, "--order", options->order,
          {{"x", VXR_ORDER_X},
           {"y", VXR_ORDER_Y},
           {"angle", VXR_ORDER_ANGLE},
           {"distance", VXR_ORDER_DISTANCE}},
          "Of the minutiae; the distance is that from the centroid");
  command->add_flag("--descending", options->descending, "The greatest first");
  command->add_flag("--keep-extended", options->keepExtended,
                    "Keep extended data where neither image nor minutiae change");
  command->add_flag("--strict", options->strict, "Do not convert what would lose anything");
  command->add_flag("--force", options->force, "Write over files that are there");
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Convert(*options); });
}
