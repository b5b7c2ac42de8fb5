// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/command_line.h"
#include "cli/output.h"
#include "platform/terminal.h"

int main(int argc, char** argv) {
  using namespace larkspur;
  platform::PrepareStandardStreams();
  try {
    const cli::Action action = cli::ParseCommandLine(platform::ProgramArguments(argc, argv));
    return cli::FinishOutput(action());
  } catch (const std::exception& error) {
    return cli::Fail(error.what());
  }
}
