// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <windows.h>

#include "host/commands.h"
#include "host/main_form.h"
#include "platform/terminal.h"

namespace larkspur::host {
namespace {

int Run(const CommandLine& line) {
  switch (line.verb) {
    case CommandLine::Verb::kShow:
      return ShowMainForm(line);
    case CommandLine::Verb::kList:
      return RunList(line);
    case CommandLine::Verb::kOpen:
      return RunOpen(line);
    case CommandLine::Verb::kMake:
      return RunMake(line);
    case CommandLine::Verb::kTell:
      Print(line.words);
      return kExitDone;
    case CommandLine::Verb::kWrong:
      Tell(line.words);
      return kExitUsage;
  }
  return kExitUsage;
}

}  // namespace
}  // namespace larkspur::host

int main(int count, char** words) {
  using namespace larkspur;
  return host::Run(host::ParseCommandLine(platform::ProgramArguments(count, words)));
}
