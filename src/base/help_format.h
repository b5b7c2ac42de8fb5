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
}

namespace larkspur {

// For the application before it gets commands, which inherit it.
void UseHelpFormat(CLI::App* app);

// The parser's words with a small first letter, if it is not that of a name such as "CACHE".
std::string InSentence(std::string text);

}  // namespace larkspur
