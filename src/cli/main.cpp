// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <exception>
#include <new>
#include <string>

#include "cli/command_line.h"
#include "cli/output.h"
#include "platform/terminal.h"

int main(int argc, char** argv) {
  using namespace larkspur;
  platform::PrepareStandardStreams();
  try {
    const cli::Action action = cli::ParseCommandLine(platform::ProgramArguments(argc, argv));
    return cli::FinishOutput(action());
  } catch (const std::bad_alloc&) {
    return cli::Fail("not enough memory; close other programs and try again");
  } catch (const std::exception& error) {
    return cli::Fail(std::string("the command failed on this machine: ") + error.what());
  }
}
