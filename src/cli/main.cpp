// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <cstdio>

int main() {
  std::puts("larkspur");
  return 0;
}
