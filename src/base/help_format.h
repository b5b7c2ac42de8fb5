// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Help of a command line that fits a terminal, and the parser's words in a sentence. The command
// line's manual page and the shells' completions are made from that help (tools/make_manual.py,
// completions/), so its form is part of the contract:
//
//   Options:
//     -o,--output FILE          a description, which may
//                               continue in this column
//     --pass-through[=auto|on]  the value may be left out, and is one of these words

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace larkspur {

// For the application before it gets commands, which inherit it.
void UseHelpFormat(CLI::App* app);

// What `app` found wrong with its arguments, as the end of a sentence: "--open needs STORAGE".
std::string ParserWords(const CLI::App& app, const CLI::ParseError& fault);

}  // namespace larkspur
