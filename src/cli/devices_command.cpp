// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>

#include "base/path_text.h"
#include "base/size_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "devices/device_kind.h"
#include "devices/device_list.h"

namespace larkspur::cli {
namespace {

Json JsonOf(const DeviceFacts& device) {
  return {{"path", Utf8FromWide(device.path)},
          {"sectors", device.bytes >> kSectorShift},
          {"kind", device.kind},
          {"kindName", KindName(device.kind)},
          {"attachment", AttachmentName(device.kind, device.bus)},
          {"model", Utf8FromWide(device.model)},
          {"serial", Utf8FromWide(device.serial)},
          {"removable", device.isRemovable},
          {"readOnly", device.isReadOnly},
          {"mounted", device.isMounted},
          {"optical", device.isOptical}};
}

// The columns of a device's line; what is special about it comes last.
std::vector<std::string> ColumnsOf(const DeviceFacts& device) {
  std::string notes;
  const auto note = [&notes](bool applies, const char* words) {
    if (applies) notes += (notes.empty() ? "" : ", ") + std::string(words);
  };
  note(device.isOptical, "optical");
  note(device.isRemovable, "removable");
  note(device.isReadOnly, "read-only");
  note(device.isMounted, "mounted");
  return {Utf8FromWide(device.path),
          device.bytes > 0 ? SizeText(device.bytes) : "-",
          AttachmentName(device.kind, device.bus),
          Utf8FromWide(device.model),
          Utf8FromWide(device.serial),
          notes};
}

void PrintTable(const std::vector<std::vector<std::string>>& lines) {
  std::vector<size_t> widths(lines[0].size());
  for (const auto& line : lines) {
    for (size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
  }
  for (const auto& line : lines) {
    std::string text;
    for (size_t i = 0; i < line.size(); ++i) text += fmt::format("{:<{}}  ", line[i], widths[i]);
    text.erase(text.find_last_not_of(' ') + 1);
    Print(text + "\n");
  }
}

}  // namespace

ExitStatus RunDevices(bool json) {
  const auto devices = FindDevices();
  if (json) {
    Json list = Json::Array();
    for (const DeviceFacts& device : devices) list.Add(JsonOf(device));
    PrintJson({{"devices", list}});
    return kExitDone;
  }
  if (devices.empty()) {
    Print("No storage devices were found.\n");
    return kExitDone;
  }
  std::vector<std::vector<std::string>> lines = {
      {"DEVICE", "SIZE", "ATTACHED BY", "MODEL", "SERIAL", "NOTES"}};
  for (const DeviceFacts& device : devices) lines.push_back(ColumnsOf(device));
  PrintTable(lines);
  return kExitDone;
}

}  // namespace larkspur::cli
