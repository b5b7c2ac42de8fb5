// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/files_output.h"

#include <algorithm>
#include <array>

#include "base/json_text.h"
#include "base/printable.h"
#include "base/size_text.h"
#include "cli/output.h"

namespace larkspur::cli {
namespace {

const char* ConditionName(FileCondition condition) {
  return condition == FileCondition::kComplete  ? "complete"
         : condition == FileCondition::kDamaged ? "damaged"
                                                : "incomplete";
}

std::string DamageWords(const std::string& name, const std::string& path, const FileState& state) {
  const std::string what =
      path.empty() ? "parts of the file system" : "parts of the folder " + Printable(path);
  return fmt::format(
      "{}: {} are not there ({} unreadable, {} missing); files may be "
      "missing from the list",
      name, what, CountText(state.unreadable, "sector"), state.missing);
}

class TextOutput final : public FilesOutput {
 public:
  explicit TextOutput(std::string cache) : m_cache(std::move(cache)) {}

  void BeginVolume(const FoundVolume& found) override {
    EndVolume();
    const PlacedVolume& volume = found.volume;
    const std::string place = volume.place.empty() ? "whole storage" : "partition " + volume.place;
    const std::string label =
        found.label.empty() ? "" : fmt::format(" \"{}\"", Printable(found.label));
    Print(fmt::format("{}: {}{}, {} from sector {}\n", place, found.fileSystem, label,
                      SizeText(volume.sectors.count << kSectorShift), volume.sectors.first));
    Print(fmt::format("{:<10} {:>12} {:>10} {:>10}  path\n", "state", "size", "unreadable",
                      "missing"));
    m_inVolume = true;
  }

  void Count(FileCondition condition) override { ++m_counts[static_cast<size_t>(condition)]; }

  void File(const PlacedVolume&, const FoundFile& file, const FileState& state) override {
    std::string row = ConditionName(state.condition);
    row.resize(std::max<size_t>(row.size(), 10), ' ');
    AppendRight(&(row += ' '), SizeText(file.size), 12);
    AppendRight(&(row += ' '), std::to_string(state.unreadable), 10);
    AppendRight(&(row += ' '), std::to_string(state.missing), 10);
    row += "  ";
    row += Printable(file.path);
    if (file.deleted) row += " (deleted)";
    Print(row += '\n');
  }

  void Damaged(const PlacedVolume& volume, const std::string& path,
               const FileState& state) override {
    Tell(DamageWords(VolumeName(m_cache, volume), path, state));
  }

  void End() override { EndVolume(); }

 private:
  void EndVolume() {
    if (!m_inVolume) return;
    Print(fmt::format("{} complete, {} damaged, {} incomplete\n\n", m_counts[0], m_counts[1],
                      m_counts[2]));
    m_counts = {};
  }

  const std::string m_cache;
  bool m_inVolume = false;
  std::array<u64, 3> m_counts{};  // by FileCondition
};

// Files are printed as they are found; what is known only in the end comes in the end.
class JsonOutput final : public FilesOutput {
 public:
  explicit JsonOutput(const std::string& cache) : m_cache(cache) {
    Print("{\"path\":" + JsonText(cache) + ",\"files\":[");
  }

  void BeginVolume(const FoundVolume& found) override {
    m_volumes.Add({{"partition", found.volume.place},
                   {"fileSystem", found.fileSystem},
                   {"label", found.label},
                   {"start", found.volume.sectors.first},
                   {"sectors", found.volume.sectors.count}});
  }

  void Count(FileCondition) override {}

  void File(const PlacedVolume& volume, const FoundFile& file, const FileState& state) override {
    Print(
        fmt::format("{}{{\"volume\":{},\"path\":{},\"size\":{},\"state\":\"{}\",\"deleted\":{},"
                    "\"unreadable\":{},\"missing\":{}{}}}",
                    m_separator, JsonText(volume.place), JsonText(file.path), file.size,
                    ConditionName(state.condition), file.deleted, state.unreadable, state.missing,
                    PathBytes(file.path)));
    m_separator = ",\n";
  }

  void Damaged(const PlacedVolume& volume, const std::string& path,
               const FileState& state) override {
    Tell(DamageWords(VolumeName(m_cache, volume), path, state));
    m_damaged.Add({{"volume", volume.place},
                   {"path", path},
                   {"unreadable", state.unreadable},
                   {"missing", state.missing}});
  }

  void End() override {
    Print("\n],\"volumes\":" + m_volumes.Compact() + ",\"damagedFolders\":" + m_damaged.Compact() +
          "}\n");
  }

 private:
  // A path that is no UTF-8 cannot stand in a JSON text as it is: its bytes are added, in hex.
  static std::string PathBytes(const std::string& path) {
    if (IsUtf8(path)) return {};
    return ",\"pathBytes\":\"" + HexText(path) + '"';
  }

  const std::string m_cache;
  const char* m_separator = "\n";
  Json m_volumes = Json::Array();
  Json m_damaged = Json::Array();
};

}  // namespace

std::unique_ptr<FilesOutput> MakeFilesOutput(const std::string& cache, bool json) {
  if (json) return std::make_unique<JsonOutput>(cache);
  return std::make_unique<TextOutput>(cache);
}

std::string VolumeName(const std::string& cache, const PlacedVolume& volume) {
  return volume.place.empty() ? cache : cache + ": partition " + volume.place;
}

}  // namespace larkspur::cli
