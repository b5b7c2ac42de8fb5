// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/simulated_requests.h"

#include <algorithm>

#include "base/endian.h"
#include "fakes/memory_disk.h"
#include "platform/system_error.h"

namespace larkspur::fakes {
namespace {

using platform::FailureKind;
using platform::SetLastFailure;

constexpr u8 kIn = 1, kNone = 2;
constexpr u8 kCheckCondition = 2;

constexpr u32 kReadSeconds = 0;  // what the drive says
// What each command must look like: its length, its time, and which bytes of it may be anything.
struct CommandRule {
  u8 operation;
  u32 cdbLength;
  u32 timeoutSeconds;
  const char* pattern;  // two digits a byte, ".." for any; what follows it is zero
};
constexpr CommandRule kRules[] = {
    {0x12, 6, 20, "12 00 00 .. .. 00"},
    {0x12, 6, 20, "12 01 80 .. .. 00"},
    {0x25, 10, 20, "25"},
    {0x9E, 16, 20, "9E 10 00 00 00 00 00 00 00 00 00 00 00 20"},
    {0x28, 10, kReadSeconds, "28 00 .. .. .. .. 00 .. .. 00"},
    {0x88, 16, kReadSeconds, "88 00 .. .. .. .. .. .. .. .. .. .. .. .. 00 00"},
    {0x85, 16, 20, "85 .. .. .. .. .. .. .. .. .. .. .. .. .. .. 00"},
    {0xA1, 12, 20, "A1 .. .. .. .. .. .. .. .. .. 00 00"},
    {0xDF, 12, 20, "DF .. 00 .. .. .. .. .. .. .. .. .. 06 7B"},
    {0xDF, 14, 20, "DF .. 00 .. .. .. .. .. .. .. .. .. 06 7B"},
    {0xDF, 12, 10, "DF 10 00 00 01 00 72 0F 00 00 00 FD 06 7B"},
    {0xDF, 14, 10, "DF 10 00 00 01 00 72 0F 00 00 00 FD 06 7B"},
    {0xF8, 12, 10, "F8 00 22 .. .. .. .. .. .. .. .. .."},
    {0xF8, 12, 10, "F8 00 21 00 00 00 00 00 00 00 00 00"},
    {0xF8, 12, 10, "F8 00 23 00 00 .. .. .. .. .. 00 00"},
    {0xBE, 12, 2, "BE 00 .. .. .. .. 00 00 01 10 00 00"},
    {0xBE, 12, kReadSeconds, "BE 00 .. .. .. .. 00 00 01 10 00 00"},
};

bool Fits(const SimulatedDrive& drive, const CommandRule& rule, std::span<const u8> cdb, u32 length,
          u32 timeout) {
  const u32 seconds = rule.timeoutSeconds == kReadSeconds ? drive.readSeconds : rule.timeoutSeconds;
  if (length != rule.cdbLength || timeout != seconds) return false;
  const std::string pattern = rule.pattern;
  for (size_t i = 0; i < cdb.size(); ++i) {
    const size_t at = 3 * i;
    const std::string wanted = at < pattern.size() ? pattern.substr(at, 2) : "00";
    if (wanted != ".." && wanted != Hex(cdb.subspan(i, 1))) return false;
  }
  return true;
}

// The bytes of data that the command itself asks for; none where it does not say.
std::optional<u32> LengthOf(const SimulatedDrive& drive, std::span<const u8> cdb) {
  switch (cdb[0]) {
    case 0x12:
      return LoadBe16(&cdb[3]);
    case 0x25:
      return 8;
    case 0x9E:
      return 32;
    case 0x28:
      return LoadBe16(&cdb[7]) * drive.sectorBytes;
    case 0x88:
      return LoadBe32(&cdb[10]) * drive.sectorBytes;
    case 0xBE:
      return 2352;
    case 0xF8:
      return cdb[2] == 0x21 ? 8 : cdb[2] == 0x23 ? 0 : cdb[4] * 512;
  }
  return std::nullopt;
}

void CheckHead(SimulatedDrive& drive, std::span<const u8> in, u8 senseRoom) {
  const auto cdb = in.subspan(36, 16);
  const u32 timeout = LoadLe32(&in[16]), length = LoadLe32(&in[12]);
  const bool isKnown = std::any_of(std::begin(kRules), std::end(kRules), [&](const auto& rule) {
    return Fits(drive, rule, cdb, in[6], timeout);
  });
  drive.Expect(isKnown, "command " + Hex(cdb) + ", length " + std::to_string(in[6]) + ", time " +
                            std::to_string(timeout));
  drive.Expect(LoadLe16(&in[0]) == 56 && in[7] == senseRoom && LoadLe32(&in[32]) == 60,
               "head of " + Hex(cdb));
  drive.Expect(IsZero(&in[2], 4) && IsZero(&in[9], 3) && IsZero(&in[20], 4),
               "zeros in the head of " + Hex(cdb));
  drive.Expect(in[8] <= kNone && (in[8] == kNone) == (length == 0), "direction of " + Hex(cdb));
  drive.Expect(LengthOf(drive, cdb).value_or(length) == length, "length of " + Hex(cdb));
}

// The ATA command inside a SCSI command, when the drive's bridge understands that; 0 otherwise.
u8 UnwrapAta(const SimulatedDrive& drive, const ScsiAsked& asked) {
  const auto& cdb = asked.cdb;
  switch (drive.wrapping) {
    case Wrapping::kSat16:
      return cdb[0] == 0x85 ? cdb[14] : u8{0};
    case Wrapping::kSat12:
      return cdb[0] == 0xA1 ? cdb[9] : u8{0};
    case Wrapping::kJMicron12:
      return cdb[0] == 0xDF && cdb.size() == 12 ? cdb[11] : u8{0};
    case Wrapping::kJMicron14:
      return cdb[0] == 0xDF && cdb.size() == 14 ? cdb[11] : u8{0};
    case Wrapping::kSunplus:
      return cdb[0] == 0xF8 && cdb[2] == 0x22 ? cdb[11] : u8{0};
    default:
      return 0;
  }
}

bool AnswersIdentify(const SimulatedDrive& drive, u8 command) {
  return !drive.identifyData.empty() && command == (drive.isPacketDevice ? 0xA1 : 0xEC);
}

ScsiReply Refusal() {
  return {.status = kCheckCondition, .sense = FixedSense(5, 0x20, 0)};
}

ScsiReply ReadSectors(SimulatedDrive& drive, u64 lba, u32 count, u32 timeout) {
  for (u64 sector = lba; sector < lba + count; ++sector) {
    const u32 seconds = drive.slow.count(sector) ? drive.slow[sector] : 0;
    drive.secondsWaited += std::min(seconds, timeout);
    if (seconds > timeout) return {.error = SimulatedDrive::CodeOf(FailureKind::kTransport)};
    ++drive.askedTimes[sector];
    if (drive.failing.count(sector)) {
      return {.status = kCheckCondition,
              .sense = drive.senseOf ? drive.senseOf(sector) : FixedSense(3, 0x11, 0)};
    }
  }
  return {.data = drive.Content(lba, count)};
}

std::vector<u8> SerialPage(const std::string& serial) {
  std::vector<u8> page(4 + serial.size());
  page[1] = 0x80;
  page[3] = static_cast<u8>(serial.size());
  std::copy(serial.begin(), serial.end(), page.begin() + 4);
  return page;
}

ScsiReply AnswerScsiDrive(SimulatedDrive& drive, const ScsiAsked& asked) {
  const auto& cdb = asked.cdb;
  if (drive.inquiry.empty()) return Refusal();
  std::vector<u8> data(32);
  switch (cdb[0]) {
    case 0x12:
      if (cdb[1] == 0) return {.data = drive.inquiry};
      if (drive.unitSerial) return {.data = SerialPage(*drive.unitSerial)};
      return {.status = kCheckCondition, .sense = FixedSense(5, 0x24, 0)};
    case 0x9E:
      if (!drive.knowsCapacity16) return Refusal();
      StoreBe64(&data[0], drive.lastLba);
      StoreBe32(&data[8], drive.sectorBytes);
      return {.data = data};
    case 0x25:
      if (!drive.knowsCapacity10) return Refusal();
      StoreBe32(&data[0], static_cast<u32>(std::min<u64>(drive.lastLba, 0xFFFFFFFF)));
      StoreBe32(&data[4], drive.sectorBytes);
      data.resize(8);
      return {.data = data};
    case 0x28:
      return ReadSectors(drive, LoadBe32(&cdb[2]), LoadBe16(&cdb[7]), asked.timeoutSeconds);
    case 0x88:
      return ReadSectors(drive, LoadBe64(&cdb[2]), LoadBe32(&cdb[10]), asked.timeoutSeconds);
  }
  return Refusal();
}

ScsiReply Answer(SimulatedDrive& drive, const ScsiAsked& asked) {
  if (drive.hangs) {
    drive.secondsWaited += asked.timeoutSeconds;
    return {.error = SimulatedDrive::CodeOf(FailureKind::kTransport)};
  }
  if (drive.onScsi) {
    if (auto reply = drive.onScsi(asked)) return *reply;
  }
  if (AnswersIdentify(drive, UnwrapAta(drive, asked))) return {.data = drive.identifyData};
  const bool isJMicron =
      drive.wrapping == Wrapping::kJMicron12 || drive.wrapping == Wrapping::kJMicron14;
  if (isJMicron && asked.timeoutSeconds == 10) return {.data = {0x40}};
  if (drive.isOptical && asked.cdb[0] == 0xBE) {
    return ReadSectors(drive, LoadBe32(&asked.cdb[2]), 1, asked.timeoutSeconds);
  }
  return AnswerScsiDrive(drive, asked);
}

// Puts the reply into the request; the bytes transferred, or none when the driver failed.
std::optional<u32> Deliver(const ScsiReply& reply, std::span<u8> data, u32 length,
                           std::span<u8> out, u8 senseRoom) {
  if (reply.error) {
    SetLastFailure(*reply.error);
    return std::nullopt;
  }
  const u32 moved = static_cast<u32>(std::min<size_t>(reply.data.size(), data.size()));
  std::copy_n(reply.data.begin(), moved, data.begin());
  out[2] = reply.status;
  std::copy_n(reply.sense.begin(), std::min<size_t>(reply.sense.size(), senseRoom), &out[60]);
  // Drivers count what the device did not fill as transferred, unless they are told.
  StoreLe32(&out[12], length - reply.lost.value_or(0));
  return moved;
}

std::string LogLine(const ScsiAsked& asked) {
  const char* way = asked.direction == kNone ? "" : asked.direction == kIn ? " in " : " out ";
  return "scsi " + Hex(asked.cdb) + way +
         (asked.direction == kNone ? "" : std::to_string(asked.data.size()));
}

bool AnswerDirect(SimulatedDrive& drive, std::span<const u8> in, std::span<u8> out, u32* returned) {
  drive.Expect(in.data() == out.data() && in.size() == 128 && out.size() == 128, "direct lengths");
  CheckHead(drive, in, 64);
  drive.Expect(IsZero(&in[52], 128 - 52), "zeros after the command");
  const u32 length = LoadLe32(&in[12]);
  const u64 address = LoadLe64(&in[24]);
  drive.Expect((address != 0) == (length != 0), "the data's address");
  drive.Expect(!(in[8] == kIn && length == 1), "a single byte does not go directly");
  u8* data = reinterpret_cast<u8*>(static_cast<std::uintptr_t>(address));
  const ScsiAsked asked{
      {in.begin() + 36, in.begin() + 36 + in[6]}, in[8], {data, length}, LoadLe32(&in[16])};
  drive.log.push_back(LogLine(asked));
  const std::span<u8> into = asked.direction == kIn ? asked.data : std::span<u8>{};
  *returned = 128;
  return Deliver(Answer(drive, asked), into, length, out, 64).has_value();
}

bool AnswerBuffered(SimulatedDrive& drive, std::span<const u8> in, std::span<u8> out,
                    u32* returned) {
  const bool isReadCd = in[36] == 0xBE;
  const u8 senseRoom = isReadCd ? 24 : 32;
  const size_t inBytes = isReadCd ? 56 : 608, outBytes = isReadCd ? 2444 : 608;
  drive.Expect(in.size() == inBytes && out.size() == outBytes, "buffered lengths");
  CheckHead(drive, in, senseRoom);
  drive.Expect(LoadLe64(&in[24]) == 92, "the data's offset");
  drive.Expect(IsZero(&in[52], in.size() - 52), "zeros after the command");
  const u32 length = LoadLe32(&in[12]);
  drive.Expect(length == (isReadCd ? 2352u : 1u), "buffered data length");
  const ScsiAsked asked{{in.begin() + 36, in.begin() + 36 + in[6]},
                        in[8],
                        out.subspan(92, std::min<size_t>(length, out.size() - 92)),
                        LoadLe32(&in[16])};
  drive.log.push_back(LogLine(asked));
  const auto moved = Deliver(Answer(drive, asked), asked.data, length, out, senseRoom);
  *returned = moved ? 92 + *moved : 0;
  return moved.has_value();
}

AtaReply AnswerAtaDrive(const SimulatedDrive& drive, u8 command) {
  AtaReply reply;
  const bool answers = drive.wrapping == Wrapping::kNative && AnswersIdentify(drive, command);
  if (answers) reply.data = drive.identifyData;
  reply.fails = !answers;
  return reply;
}

bool AnswerAta(SimulatedDrive& drive, std::span<const u8> in, std::span<u8> out, u32* returned) {
  const u32 length = LoadLe32(&in[8]);
  const u16 flags = LoadLe16(&in[2]);
  drive.log.push_back("ata " + Hex(in.subspan(40, 7)));
  drive.Expect(in.data() == out.data() && in.size() == 52 + length && length <= 16384,
               "ATA lengths");
  drive.Expect(LoadLe16(&in[0]) == 48 && LoadLe32(&in[12]) == 10 && LoadLe64(&in[24]) == 52,
               "ATA head");
  drive.Expect(IsZero(&in[4], 4) && IsZero(&in[16], 8) && in[39] == 0 && IsZero(&in[47], 5),
               "ATA zeros");
  drive.Expect((flags & ~8) == 0 || (flags & ~8) == 2 || (flags & ~8) == 4, "ATA flags");
  drive.Expect((flags & 8) || IsZero(&in[32], 8), "no upper halves");
  if (flags & 2) drive.Expect(in[52] == 0xCF && IsZero(&in[53], length - 1), "marked data");
  auto reply = drive.onAta ? drive.onAta(in) : std::nullopt;
  if (!reply) reply = AnswerAtaDrive(drive, in[46]);
  if (reply->fails) return false;
  std::copy_n(reply->previous, 8, &out[32]);
  std::copy_n(reply->current, 8, &out[40]);
  std::copy_n(reply->data.begin(), std::min<size_t>(length, reply->data.size()), out.data() + 52);
  *returned = reply->returned.value_or(52 + length);
  return true;
}

bool AnswerIde(SimulatedDrive& drive, std::span<const u8> in, std::span<u8> out, u32* returned) {
  const u32 length = LoadLe32(&in[8]);
  drive.log.push_back("ide " + Hex(in.subspan(0, 7)));
  drive.Expect(in.data() == out.data() && in.size() == 12 + length && length <= 512, "IDE lengths");
  drive.Expect(in[7] == 0, "IDE zeros");
  if (length > 0) drive.Expect(in[12] == 0xCF && IsZero(&in[13], length - 1), "marked IDE data");
  const auto reply = drive.onIde ? drive.onIde(in) : std::nullopt;
  if (!reply || reply->fails) return false;
  std::copy_n(reply->current, 8, out.data());
  std::copy_n(reply->data.begin(), std::min<size_t>(length, reply->data.size()), out.data() + 12);
  *returned = reply->returned.value_or(12 + length);
  return true;
}

}  // namespace

bool AnswerPassThrough(SimulatedDrive& drive, u32 code, std::span<const u8> in, std::span<u8> out,
                       u32* returned) {
  drive.lastRequest.assign(in.begin(), in.end());
  switch (code) {
    case 0x4D014:
      StoreLe64(&drive.lastRequest[24], 0);
      return AnswerDirect(drive, in, out, returned);
    case 0x4D004:
      return AnswerBuffered(drive, in, out, returned);
    case 0x4D02C:
      return AnswerAta(drive, in, out, returned);
  }
  return AnswerIde(drive, in, out, returned);
}

}  // namespace larkspur::fakes
