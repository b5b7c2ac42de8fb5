// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/walker.h"

#include <algorithm>
#include <bitset>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <tsk/libtsk.h>

#include "files/tsk/line_image.h"
#include "io/sector_range.h"

namespace larkspur {
namespace {

constexpr int kMaxDepth = 256;              // folders in folders
constexpr u64 kMaxFoldersRead = 100000000;  // ends what is hostile beyond all sense
constexpr TSK_INUM_T kFirstNtfsUserRecord = 24;
constexpr std::string_view kVolumeLabelSuffix = " (Volume Label Entry)";
constexpr std::string_view kOrphans = "/$OrphanFiles";

// A set of metadata addresses: mostly dense, possibly anything.
class AddressSet {
 public:
  // Whether it was not there before.
  bool Add(u64 address) {
    auto bit = m_pages[address / kPage][address % kPage];
    const bool isNew = !bit;
    bit = true;
    return isNew;
  }
  bool Has(u64 address) const {
    const auto page = m_pages.find(address / kPage);
    return page != m_pages.end() && page->second[address % kPage];
  }

 private:
  static constexpr u64 kPage = 4096;
  std::unordered_map<u64, std::bitset<kPage>> m_pages;
};

struct OpenFileDeleter {
  void operator()(TSK_FS_FILE* file) const { tsk_fs_file_close(file); }
};
using OpenFile = std::unique_ptr<TSK_FS_FILE, OpenFileDeleter>;

bool IsFolder(TSK_FS_META_TYPE_ENUM type) {
  return TSK_FS_IS_DIR_META(type);
}

// Devices, pipes and what libtsk made up have no data that anybody could want.
bool HasContent(TSK_FS_META_TYPE_ENUM type) {
  return type == TSK_FS_META_TYPE_REG || type == TSK_FS_META_TYPE_LNK;
}

bool HoldsData(TSK_FS_ATTR_TYPE_ENUM type) {
  return type == TSK_FS_ATTR_TYPE_DEFAULT || type == TSK_FS_ATTR_TYPE_NTFS_DATA ||
         type == TSK_FS_ATTR_TYPE_HFS_DATA || type == TSK_FS_ATTR_TYPE_HFS_RSRC;
}

// Where the data of one file lies, in sectors from the file system's first.
class AreaList {
 public:
  explicit AreaList(TSK_FS_INFO* fs)
      : m_fs(fs),
        m_blockBytes(fs->block_size),
        m_listsInPieces(TSK_FS_TYPE_ISNTFS(fs->ftype) || TSK_FS_TYPE_ISHFS(fs->ftype)) {}

  const std::vector<SectorRange>& Areas() const { return m_areas; }
  bool Known() const { return m_known; }

  void Add(const TSK_FS_ATTR* attribute) {
    if (!HoldsData(attribute->type) || !(attribute->flags & TSK_FS_ATTR_NONRES)) return;
    // What lies past the data that was ever written reads as zeros. Compressed data has no such
    // end: all of its blocks count.
    const bool isPacked = attribute->flags & TSK_FS_ATTR_COMP;
    const u64 written = static_cast<u64>(std::min(attribute->size, attribute->nrd.initsize));
    const u64 end = isPacked ? kNowhere : written;
    for (const TSK_FS_ATTR_RUN* run = attribute->nrd.run; run; run = run->next) AddRun(*run, end);
  }

 private:
  void AddRun(const TSK_FS_ATTR_RUN& run, u64 end) {
    const u64 start = run.offset * m_blockBytes;
    if (run.flags & TSK_FS_ATTR_RUN_FLAG_SPARSE || run.len == 0 || start >= end) return;
    if (run.flags & TSK_FS_ATTR_RUN_FLAG_FILLER) {
      m_known = m_known && !m_listsInPieces;
      return;
    }
    if (run.addr > m_fs->last_block || run.len > m_fs->last_block - run.addr + 1) {
      m_known = false;
      return;
    }
    const u64 bytes = std::min(run.len * m_blockBytes, end - start);
    const u64 place = run.addr * m_blockBytes;
    const u64 first = place / kSectorBytes;
    const u64 last = (place + bytes + kSectorBytes - 1) / kSectorBytes;
    if (!m_areas.empty() && m_areas.back().first + m_areas.back().count == first) {
      m_areas.back().count += last - first;
    } else {
      m_areas.push_back({first, last - first});
    }
  }

  TSK_FS_INFO* m_fs;
  const u64 m_blockBytes;
  // A gap between runs is a piece of the list that was not found; elsewhere it is a hole.
  const bool m_listsInPieces;
  bool m_known = true;
  std::vector<SectorRange> m_areas;
};

class Walker {
 public:
  Walker(LineImage* image, TSK_FS_INFO* fs) : m_image(image), m_fs(fs) {}

  void Run(u64 sectors, WalkTask task) {
    m_named.Add(m_fs->root_inum);
    WalkFolder(m_fs->root_inum, "", 0);
    if (FindsUnnamed()) WalkUnnamed();
    if (task == WalkTask::kFilesAndUsed) TellUsed(sectors);
  }

 private:
  // In FAT and its like, metadata is in folders only: looking for more would read the whole disk.
  bool FindsUnnamed() const {
    return !TSK_FS_TYPE_ISFAT(m_fs->ftype) && m_fs->ftype != TSK_FS_TYPE_EXFAT &&
           !TSK_FS_TYPE_ISISO9660(m_fs->ftype);
  }

  bool IsOfTheSystem(const std::string& path, const TSK_FS_NAME& name) const {
    if (TSK_FS_TYPE_ISNTFS(m_fs->ftype)) {
      return name.meta_addr < kFirstNtfsUserRecord || path.starts_with("/$Extend/");
    }
    if (m_fs->ftype == TSK_FS_TYPE_EXFAT) {
      // libtsk's names for what is no file.
      constexpr std::string_view kOwn[] = {"/$ALLOC_BITMAP", "/$UPCASE_TABLE", "/$VOLUME_GUID",
                                           "/$TEX_FAT", "/$ACT"};
      if (std::count(std::begin(kOwn), std::end(kOwn), path) > 0) return true;
    }
    return TSK_FS_TYPE_ISFAT(m_fs->ftype) && path.ends_with(kVolumeLabelSuffix);
  }

  // `path` without the slash at its end.
  void WalkFolder(TSK_INUM_T address, const std::string& path, int depth) {
    if (depth > kMaxDepth || ++m_foldersRead > kMaxFoldersRead) return;
    m_image->SetMode(ReadMode::kZeros);
    TSK_FS_DIR* folder = tsk_fs_dir_open_meta(m_fs, address);
    m_image->SetMode(ReadMode::kExact);
    // Told for a whole folder as well: only the other end knows what was not there.
    m_image->Tell(WalkMessage::kFolder, {path.empty() ? "/" : path});
    if (!folder) return tsk_error_reset();
    const size_t count = tsk_fs_dir_getsize(folder);
    for (size_t i = 0; i < count; ++i) {
      if (const TSK_FS_NAME* name = tsk_fs_dir_get_name(folder, i)) WalkName(*name, path, depth);
    }
    tsk_fs_dir_close(folder);
  }

  void WalkName(const TSK_FS_NAME& name, const std::string& parent, int depth) {
    const std::string_view text = name.name ? name.name : "";
    if (text.empty() || text == "." || text == "..") return;
    const std::string path = parent + "/" + name.name;
    const bool isNew = m_named.Add(name.meta_addr);
    if (name.type == TSK_FS_NAME_TYPE_VIRT || name.type == TSK_FS_NAME_TYPE_VIRT_DIR) return;
    const bool deleted = name.flags & TSK_FS_NAME_FLAG_UNALLOC;
    const OpenFile file(tsk_fs_file_open_meta(m_fs, nullptr, name.meta_addr));
    const TSK_FS_META* meta = file ? file->meta : nullptr;
    // libtsk makes up metadata of no type where there is nothing that can be read.
    if (meta && meta->type == TSK_FS_META_TYPE_UNDEF) meta = nullptr;
    // A deleted name whose metadata belongs to another file by now says nothing.
    if (meta && deleted && meta->flags & TSK_FS_META_FLAG_ALLOC) meta = nullptr;
    if (meta && IsFolder(meta->type)) {
      if (isNew) WalkFolder(name.meta_addr, path, depth + 1);
    } else if (IsOfTheSystem(path, name)) {
      tsk_error_reset();
    } else if (!meta) {
      TellUnknown(path, deleted, name.type);
    } else if (HasContent(meta->type)) {
      TellFile(file.get(), path, deleted);
    }
  }

  // What was to tell where the file lies cannot be read, or makes no sense.
  void TellUnknown(const std::string& path, bool deleted, TSK_FS_NAME_TYPE_ENUM type) {
    tsk_error_reset();
    if (type == TSK_FS_NAME_TYPE_DIR) return m_image->Tell(WalkMessage::kFolder, {path});
    TellHead({0, deleted, false}, path);
  }

  void TellFile(TSK_FS_FILE* file, const std::string& path, bool deleted) {
    AreaList areas(m_fs);
    const int attributes = tsk_fs_file_attr_getsize(file);
    bool known = attributes >= 0 && file->meta->attr_state != TSK_FS_META_ATTR_ERROR;
    for (int i = 0; i < attributes; ++i) {
      if (const TSK_FS_ATTR* attribute = tsk_fs_file_attr_get_idx(file, i)) areas.Add(attribute);
    }
    tsk_error_reset();
    const u64 size = static_cast<u64>(std::max<TSK_OFF_T>(file->meta->size, 0));
    known = known && areas.Known();
    // Deleting may clear what told where the data was.
    if (deleted && areas.Areas().empty() && !HasResidentData(file)) known = false;
    TellRanges(WalkMessage::kAreas, areas.Areas());
    TellHead({size, deleted, known}, path);
  }

  static bool HasResidentData(TSK_FS_FILE* file) {
    const TSK_FS_ATTR* first = tsk_fs_file_attr_get(file);
    tsk_error_reset();
    return first && first->flags & TSK_FS_ATTR_RES && first->size > 0;
  }

  void TellRanges(WalkMessage kind, const std::vector<SectorRange>& ranges) {
    constexpr size_t kAtOnce = kMaxWalkMessage / sizeof(SectorRange);
    for (size_t at = 0; at < ranges.size(); at += kAtOnce) {
      const size_t count = std::min(ranges.size() - at, kAtOnce);
      m_image->Tell(
          kind, {{reinterpret_cast<const char*>(ranges.data() + at), count * sizeof(SectorRange)}});
    }
  }

  // All but what the file system says is free.
  void TellUsed(u64 sectors) {
    if (!SaysWhatIsFree()) return TellRanges(WalkMessage::kUsed, {{0, sectors}});
    u64 told = 0;  // sectors
    for (TSK_DADDR_T block = m_fs->first_block; block <= m_fs->last_block;) {
      const u64 end = EndOfFree(block);
      if (end == block) {
        ++block;
        continue;
      }
      const u64 start = block * m_fs->block_size / kSectorBytes;
      if (start > told) TellRanges(WalkMessage::kUsed, {{told, start - told}});
      told = end * m_fs->block_size / kSectorBytes;
      block = end;
    }
    if (sectors > told) TellRanges(WalkMessage::kUsed, {{told, sectors - told}});
  }

  // A file system that is larger than its partition may be striped over several disks: then its
  // block numbers mean nothing here. Of the others libtsk does not tell a map that cannot be read
  // from one that is empty.
  bool SaysWhatIsFree() const {
    const bool isKnown = TSK_FS_TYPE_ISEXT(m_fs->ftype) || TSK_FS_TYPE_ISFAT(m_fs->ftype) ||
                         TSK_FS_TYPE_ISNTFS(m_fs->ftype) || m_fs->ftype == TSK_FS_TYPE_EXFAT;
    return isKnown && m_fs->last_block == m_fs->last_block_act;
  }

  // The end of the free blocks that begin at `block`; `block` itself when it is none.
  u64 EndOfFree(u64 block) {
    while (block <= m_fs->last_block && block >= m_unsaidUntil) {
      const u64 failures = m_image->Failures();
      const bool isFree = m_fs->block_getflags(m_fs, block) & TSK_FS_BLOCK_FLAG_UNALLOC;
      if (failures != m_image->Failures()) {
        tsk_error_reset();
        m_unsaidUntil = EndOfMapWith(block);
      } else if (isFree) {
        ++block;
        continue;
      }
      break;
    }
    return block;
  }

  // Where at the latest the map that failed to say something about `block` ends: what libtsk says
  // before is made up.
  u64 EndOfMapWith(u64 block) const {
    const bool hasMapsOfOneBlock =
        TSK_FS_TYPE_ISEXT(m_fs->ftype) || TSK_FS_TYPE_ISNTFS(m_fs->ftype);
    return hasMapsOfOneBlock ? block + u64{8} * m_fs->block_size : kNowhere;
  }

  void TellHead(const WalkFileHead& head, const std::string& path) {
    m_image->Tell(WalkMessage::kFile, {{reinterpret_cast<const char*>(&head), sizeof head}, path});
  }

  // Files that no folder names: deleted ones, and those whose folder is lost.
  void WalkUnnamed() {
    m_image->SetMode(ReadMode::kAside);
    const auto flags = static_cast<TSK_FS_META_FLAG_ENUM>(
        TSK_FS_META_FLAG_ALLOC | TSK_FS_META_FLAG_UNALLOC | TSK_FS_META_FLAG_USED);
    const auto call = [](TSK_FS_FILE* file, void* walker) {
      static_cast<Walker*>(walker)->MeetUnnamed(file);
      return TSK_WALK_CONT;
    };
    tsk_fs_meta_walk(m_fs, m_fs->first_inum, m_fs->last_inum, flags, call, this);
    tsk_error_reset();
    m_image->SetMode(ReadMode::kExact);
  }

  void MeetUnnamed(TSK_FS_FILE* file) {
    if (!file->meta || file->meta->type != TSK_FS_META_TYPE_REG) return;
    const TSK_INUM_T address = file->meta->addr;
    if (m_named.Has(address) || IsReserved(address)) return;
    const bool deleted = file->meta->flags & TSK_FS_META_FLAG_UNALLOC;
    if (deleted && file->meta->size == 0) return;  // nothing is left of it
    // Further records of a large file have no name of their own.
    const TSK_FS_META_NAME_LIST* name = file->meta->name2;
    if (TSK_FS_TYPE_ISNTFS(m_fs->ftype) && !name) return;
    std::string path(kOrphans);
    path += "/OrphanFile-" + std::to_string(address);
    if (name && name->name[0] != '\0') path += std::string(" ") + name->name;
    m_image->SetMode(ReadMode::kExact);
    TellFile(file, path, deleted);
    m_image->SetMode(ReadMode::kAside);
  }

  bool IsReserved(TSK_INUM_T address) const {
    if (TSK_FS_TYPE_ISNTFS(m_fs->ftype)) return address < kFirstNtfsUserRecord;
    constexpr TSK_INUM_T kFirstExtUserInode = 11;
    return TSK_FS_TYPE_ISEXT(m_fs->ftype) && address < kFirstExtUserInode;
  }

  LineImage* m_image;
  TSK_FS_INFO* m_fs;
  AddressSet m_named;
  u64 m_foldersRead = 0;
  u64 m_unsaidUntil = 0;  // nothing tells which blocks before this one are free
};

// Text of a fixed length, padded with zeros or blanks.
std::string PaddedText(TSK_FS_INFO* fs, TSK_OFF_T offset, size_t length) {
  std::string text(length, '\0');
  if (tsk_fs_read(fs, offset, text.data(), length) != static_cast<ssize_t>(length)) return {};
  text.resize(std::min(text.find('\0'), length));
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

// Where the common file systems keep the volume's name in a fixed place.
std::string Label(TSK_FS_INFO* fs) {
  const struct {
    bool fits;
    TSK_OFF_T offset;
    size_t length;
  } places[] = {{TSK_FS_TYPE_ISEXT(fs->ftype) != 0, 1024 + 120, 16},
                {fs->ftype == TSK_FS_TYPE_FAT32, 71, 11},
                {fs->ftype == TSK_FS_TYPE_FAT12 || fs->ftype == TSK_FS_TYPE_FAT16, 43, 11},
                {TSK_FS_TYPE_ISISO9660(fs->ftype) != 0, 32768 + 40, 32}};
  for (const auto& place : places) {
    if (!place.fits) continue;
    const std::string text = PaddedText(fs, place.offset, place.length);
    return text == "NO NAME" ? std::string() : text;
  }
  return {};
}

// libtsk's own detection tries all kinds, YAFFS2 among them, which reads all over the storage to
// find out. That one lies on bare flash memory, never on what looks like a disk: it is left out.
TSK_FS_INFO* Open(TSK_IMG_INFO* image) {
  constexpr TSK_FS_TYPE_ENUM kKinds[] = {TSK_FS_TYPE_NTFS_DETECT, TSK_FS_TYPE_FAT_DETECT,
                                         TSK_FS_TYPE_EXT_DETECT,  TSK_FS_TYPE_HFS_DETECT,
                                         TSK_FS_TYPE_FFS_DETECT,  TSK_FS_TYPE_ISO9660_DETECT};
  for (const TSK_FS_TYPE_ENUM kind : kKinds) {
    if (TSK_FS_INFO* fs = tsk_fs_open_img(image, 0, kind)) return fs;
    tsk_error_reset();
  }
  return nullptr;
}

}  // namespace

void RunWalker(platform::HelperLine& line, u64 sectors, WalkTask task) {
  LineImage image(line, sectors);
  TSK_FS_INFO* fs = Open(image.Info());
  if (!fs) {
    image.Tell(WalkMessage::kNothing, {});
  } else {
    const std::string kind = tsk_fs_type_toname(fs->ftype);
    image.Tell(WalkMessage::kOpened, {kind, std::string_view("\0", 1), Label(fs)});
    Walker(&image, fs).Run(sectors, task);
  }
  image.Tell(WalkMessage::kEnd, {});
  image.Flush();
}

}  // namespace larkspur
