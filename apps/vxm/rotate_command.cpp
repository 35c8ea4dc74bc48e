// vxm rotate: a template turned by 180 degrees, in its own format.
#include <memory>

#include "commands.h"
#include "failure.h"
#include "matcher_owner.h"
#include "named_template.h"
#include "program.h"

namespace {

struct RotateOptions {
  std::string input;
  std::string output;
  bool force = false;
};

// What is there already is written over only if it is a template, too.
void RequireReplaceable(const std::string& name) {
  std::error_code fault;
  if (name == streamName || KindOf(name, fault) != FileKind::file) return;
  try {
    LoadTemplateFile(name, Intake::refuse);
  } catch (const FileFailure& failure) {
    if (failure.reason == emptyFile) return;  // nothing is lost
    throw Failure(name + ": is left as it was, for it is no template: " + failure.reason +
                  " (--force writes over it)");
  }
}

// The buffer that the template is turned in. A native one gets its own size,
// with which the library has no room for a richer form. A turned standard record
// carries an attribute field of 5 bytes, so it gets room for that.
Bytes BufferFor(const TemplateFile& file) {
  constexpr size_t attributeBlock = 7;
  const size_t body = file.inspection.bodySize;
  Bytes buffer = file.bytes;
  if (file.inspection.format == Format::native) {
    buffer.resize(body);
  } else if (buffer.size() < body + attributeBlock) {
    // Whatever extended data there are hold no attribute.
    buffer.resize(body);
    buffer.resize(body + attributeBlock);
  }
  return buffer;
}

void CutToSize(Bytes& buffer) {
  const Inspection turned = Inspect(buffer);
  size_t size = turned.bodySize;
  if (turned.format != Format::native) size += 7;
  buffer.resize(size);
}

int Rotate(const RotateOptions& options) {
  const TemplateFile file = LoadOne(options.input, StopCheck(), Intake::refuse);
  if (!options.force) RequireReplaceable(options.output);
  Bytes buffer = BufferFor(file);
  const MatcherOwner matcher;
  Require(VXM_RotateTemplate(matcher.Handle(), buffer.data(), static_cast<int>(buffer.size())),
          "turning " + options.input);
  CutToSize(buffer);
  ReplaceFile(options.output, buffer);
  const int left = Inspect(buffer).minutiae;
  if (left < file.inspection.minutiae) {
    Say("warning: " + options.output + " holds " + std::to_string(left) + " of " +
        std::to_string(file.inspection.minutiae) +
        " minutiae: the others lie on or outside the image's edge or are more than a turned "
        "record takes");
  }
  return ExitCode::success;
}

}  // namespace

void AddRotate(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("rotate", "Turn a template by 180 degrees");
  command->footer(
      "Exit codes: 0 done, 2 error.\n"
      "Example: vxm rotate probe.vxt turned.vxt");
  auto options = std::make_shared<RotateOptions>();
  command->add_option("IN", options->input, "Template file, or GALLERY:ID")->required();
  command->add_option("OUT", options->output, "File to write; may be IN")->required();
  command->add_flag("--force", options->force, "Write also over a file that is no template");
  command->callback([options, &exitCode] { exitCode = Rotate(*options); });
}
