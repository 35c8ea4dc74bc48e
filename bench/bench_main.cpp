// The frame of both benchmark programs: Google Benchmark's options and a few of
// our own, then the benchmarks of each format that there is material of.
#include <benchmark/benchmark.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "material.h"

namespace {

void DefineOptions(CLI::App& program, bench::Source& source) {
  program.set_help_flag();  // Google Benchmark sees to it
  program
      .add_option("--data", source.folder,
                  "Folder of templates named FINGER_IMPRESSION.EXT, instead of made ones")
      ->check(CLI::ExistingDirectory);
  program.add_option("--fingers", source.fingers, "Made fingers, of 2 impressions each")
      ->check(CLI::Range(2, 100000))
      ->capture_default_str();
  program
      .add_option("--gallery", source.gallery.templates,
                  "Made templates in the largest gallery that is searched; 0: none is")
      ->check(CLI::Range(0, 100000000))
      ->capture_default_str();
  program
      .add_option("--gallery-folder", source.gallery.folder,
                  "Where they are kept, for the next time")
      ->capture_default_str();
  program.add_option("--seed", source.seed, "What to make them from")->capture_default_str();
}

void PrintHelp() {
  bench::Source source;
  CLI::App program;
  DefineOptions(program, source);
  std::printf("What to measure with:\n%s\nHow to measure:\n", program.help().c_str());
  benchmark::PrintDefaultHelp();
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv, PrintHelp);
  bench::Source source;
  CLI::App program;
  DefineOptions(program, source);
  CLI11_PARSE(program, argc, argv);
  try {
    const std::vector<bench::Material> materials = bench::Gather(source);
    for (const bench::Material& material : materials) {
      if (!bench::GenuinePairs(material).empty() && !bench::ImpostorPairs(material).empty()) {
        bench::RegisterBenchmarks(material, source);
      }
    }
    if (benchmark::RunSpecifiedBenchmarks() == 0) throw std::runtime_error("nothing to measure");
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "%s: %s\n", argv[0], fault.what());
    return 2;
  }
  return 0;
}
