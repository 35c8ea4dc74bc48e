// The subcommands. Each adds its arguments to the program and, when chosen,
// runs and leaves its exit code.
#pragma once

#include <CLI/CLI.hpp>

void AddVerify(CLI::App& program, int& exitCode);
void AddInfo(CLI::App& program, int& exitCode);
void AddSynth(CLI::App& program, int& exitCode);
void AddRotate(CLI::App& program, int& exitCode);
void AddIdentify(CLI::App& program, int& exitCode);
void AddCompletion(CLI::App& program, int& exitCode);
void AddConvert(CLI::App& program, int& exitCode);

// Those of galleries: none in a build without SQLite.
void AddGalleryCommands(CLI::App& program, int& exitCode);
void AddEnroll(CLI::App& program, int& exitCode);
void AddCheck(CLI::App& program, int& exitCode);
void AddExport(CLI::App& program, int& exitCode);
void AddList(CLI::App& program, int& exitCode);
void AddRemove(CLI::App& program, int& exitCode);
