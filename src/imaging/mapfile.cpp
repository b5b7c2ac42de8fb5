// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/mapfile.h"

#include <algorithm>
#include <charconv>
#include <istream>
#include <optional>
#include <ostream>
#include <sstream>

#include <fmt/core.h>

#include "platform/file.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr size_t kTransferBytes = 1 << 20;
constexpr std::string_view kBlockStatuses = "?*/-+";
constexpr std::string_view kRunStatuses = "?*/-FG+";  // of the whole run, in the status line

bool ParseNumber(std::string_view text, u64* value) {
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    base = 16;
    text.remove_prefix(2);
  } else if (text.size() > 1 && text[0] == '0') {
    base = 8;
  }
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, *value, base);
  return error == std::errc{} && stop == end && !text.empty();
}

std::vector<std::string> Words(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> words;
  for (std::string word; in >> word && word[0] != '#';) words.push_back(word);
  return words;
}

// "current_pos current_status [current_pass]"
const char* StatusLineFault(const std::vector<std::string>& words) {
  u64 number = 0;
  if (words.size() < 2 || words.size() > 3) return "expected the status line: position and status";
  if (!ParseNumber(words[0], &number)) return "the current position is not a number";
  if (words[1].size() != 1 || kRunStatuses.find(words[1][0]) == std::string_view::npos) {
    return "the current status is none of ? * / - F G +";
  }
  if (words.size() == 3 && !ParseNumber(words[2], &number)) return "the pass is not a number";
  return nullptr;
}

// "pos size status"
const char* BlockFault(const std::vector<std::string>& words, u64 earliest, MapfileBlock* block) {
  if (words.size() != 3) return "expected position, size and status";
  if (!ParseNumber(words[0], &block->position)) return "the position is not a number";
  if (!ParseNumber(words[1], &block->size)) return "the size is not a number";
  if (words[2].size() != 1 || kBlockStatuses.find(words[2][0]) == std::string_view::npos) {
    return "the status is none of ? * / - +";
  }
  block->status = words[2][0];
  if (block->size > ~u64{0} - block->position) return "the block ends past 2^64";
  if (block->position < earliest) return "the block begins before the end of the one above";
  return nullptr;
}

// The file's bytes; none when it cannot be read or is too long. The system's error is in
// platform::LastFailure().
std::optional<std::string> ReadWholeFile(const std::u16string& path, u64 limitBytes) {
  const platform::OwnedFile file(platform::OpenExistingFile(path.c_str(), platform::kOpenRead));
  if (!file.IsOpen()) return std::nullopt;
  const u64 size = platform::FileSize(file.Handle());
  if (size > limitBytes) return std::nullopt;
  std::string bytes(static_cast<size_t>(size), '\0');
  size_t done = 0;
  while (done < bytes.size()) {
    const u32 wanted = static_cast<u32>(std::min(bytes.size() - done, kTransferBytes));
    const u32 got = platform::ReadFileAt(file.Handle(), bytes.data() + done, wanted, done);
    if (got == 0) return std::nullopt;
    done += got;
  }
  return bytes;
}

}  // namespace

Result<std::vector<MapfileBlock>, MapfileFault> ParseMapfile(std::istream& in) {
  std::vector<MapfileBlock> blocks;
  bool sawStatus = false;
  u32 number = 0;
  u64 end = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    const std::vector<std::string> words = Words(line);
    if (words.empty()) continue;
    MapfileBlock block{};
    const char* detail = sawStatus ? BlockFault(words, end, &block) : StatusLineFault(words);
    if (detail) return Failed(MapfileFault{detail, number});
    if (sawStatus) {
      end = block.position + block.size;
      blocks.push_back(block);
    }
    sawStatus = true;
  }
  if (!sawStatus) return Failed(MapfileFault{"it is empty, or has nothing but comments", 0});
  return blocks;
}

Result<std::vector<MapfileBlock>, MapfileFault> ReadMapfile(const std::u16string& path) {
  platform::SetLastFailure(0);
  const auto text = ReadWholeFile(path, kMaxMapfileBytes);
  if (!text) return Failed(MapfileFault{.systemError = platform::LastFailure()});
  std::istringstream in(*text);
  return ParseMapfile(in);
}

Result<ExtentSet, MapfileFault> ReadDomain(const std::u16string& path) {
  const auto blocks = ReadMapfile(path);
  if (!blocks) return Failed(blocks.error());
  ExtentSet domain;
  for (const MapfileBlock& block : *blocks) {
    if (block.status != '+' || block.size == 0) continue;
    const u64 first = block.position / kSectorBytes;
    domain.Add({first, (block.position + block.size - 1) / kSectorBytes + 1 - first});
  }
  return domain;
}

std::vector<SectorRange> SectorsMarked(const std::vector<MapfileBlock>& blocks,
                                       std::string_view statuses) {
  std::vector<SectorRange> ranges;
  u64 start = 0, end = 0;  // the stretch that is being gathered, in bytes
  const auto close = [&] {
    const u64 first = start / kSectorBytes + (start % kSectorBytes != 0);
    const u64 last = end / kSectorBytes;
    if (last > first) ranges.push_back({first, last - first});
  };
  for (const MapfileBlock& block : blocks) {
    if (statuses.find(block.status) == std::string_view::npos) continue;
    if (block.position != end) {
      close();
      start = block.position;
    }
    end = block.position + block.size;
  }
  close();
  return ranges;
}

MapfileWriter::MapfileWriter(std::ostream& out, bool complete) : m_out(out) {
  m_out << "# Mapfile. Created by larkspur " LARKSPUR_VERSION
           "\n# current_pos  current_status  current_pass\n"
        << fmt::format("0x00000000     {}               1\n", complete ? '+' : '?')
        << "#      pos        size  status\n";
}

void MapfileWriter::Add(u64 firstSector, u64 sectors, char status) {
  m_out << fmt::format("0x{:08X}  0x{:08X}  {}\n", firstSector << kSectorShift,
                       sectors << kSectorShift, status);
}

}  // namespace larkspur
